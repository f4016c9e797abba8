#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <initializer_list>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Attacks.h"
#include "Client.h"
#include "ConfigAdapter.h"
#include "Inputs.h"
#include "TracedDeeds.h"
#include "Tracer.h"
#include "Trial.h"
#include "host/XmlDiagnostics.h"
#include "quill/StringUtils.h"
#include "remote/DownloadJournal.h"
#include "simulation/Sanitized.h"
#include "xml/DocumentInspector.h"
#include "xml/XmlConfigParser.h"

namespace torture {
namespace {

// Only a reading that does not end takes as long.
const rlim_t mostSeconds = simulation::sequences(10) == 10 ? 15 : 60;

constexpr std::size_t largest = 1'000'000;

/// Of the log of a start: some for each document, whatever stands in it.
constexpr std::size_t mostLines = 200;

/// What a start of the module with some document came to, as its process tells it.
struct Outcome {
    std::string wrong;      ///< empty: nothing
    long peak = 0;          ///< KiB by which the memory grew at most
    long time = 0;          ///< milliseconds of processor time
    std::size_t lines = 0;  ///< of the log
};

/// A figure of this process in KiB, as the system tells it.
long memory(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name)) {
            return std::stol(line.substr(name.size() + 1));
        }
    }
    return 0;
}

/// From here on the peak is counted anew.
void forgetPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

long processorTime() {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    return (used.ru_utime.tv_sec + used.ru_stime.tv_sec) * 1000 +
           (used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1000;
}

std::string chainOf(const ChainedStoreMap& stores) {
    std::string text;
    for (const auto& [name, others] : stores) {
        for (const std::string& other : others) {
            text.append(name).append(" waits for ").append(other).append("; ");
        }
    }
    return text;
}

std::string versionOf(Client& client) {
    const auto snapshot = dynamic_cast<ConfigAdapter&>(client.featureSet()).getDownloadJournal()->snapshot();
    for (const auto& cycle : snapshot.cycles) {
        if (!cycle.versionQueries.empty()) {
            return cycle.versionQueries.back().version;
        }
    }
    return {};
}

/// What the module makes of an input whose contents go into no store.
std::string readingOf(Client& client, const Scene& scene, const Input& input) {
    ChainedStoreMap stores;
    if (input.form == Input::Form::Chain) {
        XmlConfigParser::readChainedConfigFile(scene.folder() + "/" + input.path, stores);
    }
    return chainOf(stores) + versionOf(client);
}

std::string whatIsExpanded(Client& client, const std::string& reading) {
    if (reading.find(forbiddenText) != std::string::npos) {
        return "something was expanded in what was read";
    }
    const std::wstring forbidden = QuillCoreUtils::toWideString(forbiddenText);
    auto& adapter = dynamic_cast<ConfigAdapter&>(client.featureSet());
    for (const auto& store : adapter.getConfigStoreManager()->getStores()) {
        for (const std::wstring& key : store->getKeys()) {
            std::wstring value;
            store->getValue(key, value);
            if (value.find(forbidden) != std::wstring::npos || key.find(forbidden) != std::wstring::npos) {
                return "something was expanded in " + store->getName();
            }
        }
    }
    return {};
}

/// What the tool would tell of the input. @return what is wrong with that; empty if nothing is.
std::string whatIsWrongWithTheReport(const Scene& scene, const Input& input) {
    const std::string path = input.path.empty() ? input.name + ".xml" : input.path;
    const std::wstring forbidden = QuillCoreUtils::toWideString(forbiddenText);
    for (const DocumentReport::Entry& entry : inspectDocument(scene.folder() + "/" + path).entries) {
        if (entry.value.find(forbidden) != std::wstring::npos || entry.key.find(forbidden) != std::wstring::npos) {
            return "something was expanded in what the tool reads";
        }
    }
    return {};
}

/// In a process of its own: looks at the document as the tool does, and starts the module with the document in place of
/// one input.
int start(const Scene& scene, const Input& input, const std::string& document) {
    const host::XmlDiagnostics logged(host::XmlDiagnostics::Way::Log);
    const rlimit limit{mostSeconds, mostSeconds};
    setrlimit(RLIMIT_CPU, &limit);
    forgetPeak();
    const long before = memory("VmRSS:");
    const long begun = processorTime();
    Outcome outcome;
    {
        markBegin();
        const std::string wrongReport = whatIsWrongWithTheReport(scene, input);  // before a start sets the file aside
        Client client(scene);
        outcome.wrong = whatIsUnanswered(client, input, document);
        const std::string reading = readingOf(client, scene, input);
        markEnd();
        outcome.time = processorTime() - begun;
        outcome.peak = memory("VmHWM:") - before;
        outcome.lines = client.log().lines().size();
        if (outcome.wrong.empty()) {
            const bool isUnread = input.key.empty() && document == input.contents && reading.empty();
            outcome.wrong = isUnread ? "nothing was read of the whole one" : whatIsExpanded(client, reading);
        }
        if (outcome.wrong.empty()) {
            outcome.wrong = wrongReport;
        }
    }
    std::ofstream(scene.folder() + "/outcome")
        << outcome.peak << ' ' << outcome.time << ' ' << outcome.lines << ' ' << outcome.wrong << '\n';
    return 0;
}

Outcome outcomeOf(const Scene& scene) {
    Outcome outcome;
    std::ifstream file(scene.folder() + "/outcome");
    file >> outcome.peak >> outcome.time >> outcome.lines;
    file.get();
    std::getline(file, outcome.wrong);
    return outcome;
}

/// What was opened outside of the two folders of the client.
std::set<std::string> openedOutside(const Scene& scene, const Traced& traced) {
    std::set<std::string> paths;
    for (const Call& call : traced.calls) {
        const bool opens = call.name.starts_with("open") || call.name == "creat";
        if (opens && !isWithin(scene.config(), call.path) && !isWithin(scene.install(), call.path)) {
            paths.insert(call.path);
        }
    }
    return paths;
}

/// Tries documents, each in a process of its own.
class Tester {
public:
    explicit Tester(Trial& trial) : trial_(trial) {}

    const Scene& scene() const { return files_.scene(); }

    /// Learns what a start opens anyway. @return false if it did not end well.
    bool learn(const Input& input) {
        const Traced traced = trace(input, input.contents);
        known_[input.name] = openedOutside(scene(), traced);
        return traced.status == 0 && outcomeOf(scene()).wrong.empty();
    }

    void tryWith(const Input& input, const std::string& attack, const std::string& document) {
        trial_.tried();
        const Traced traced = trace(input, document);
        const std::string wrong = whatIsWrong(traced, known_[input.name], document.size());
        if (!wrong.empty()) {
            trial_.lost("in the " + input.name + " document, " + attack + ": " + wrong, scene().folder());
        }
    }

    std::string figures() const {
        std::ostringstream text;
        text << "at most " << mostMemory_ / 1024 << " MiB more memory, " << longest_ << " ms, " << longestLog_
             << " lines of log";
        return text.str();
    }

private:
    Traced trace(const Input& input, const std::string& document) {
        files_.write(input, document);
        return runTraced("/", [&] { return start(scene(), input, document); }, {});
    }

    std::string whatIsWrong(const Traced& traced, const std::set<std::string>& known, std::size_t size) {
        if (traced.wentOnForEver || traced.status == 128 + SIGXCPU || traced.status == 128 + SIGKILL) {
            return "it goes on and on";
        }
        if (traced.status != 0) {
            return "the client ended with " + std::to_string(traced.status);
        }
        if (!traced.reaches.empty()) {
            return "it reached out: " + traced.reaches.front();
        }
        for (const std::string& path : openedOutside(scene(), traced)) {
            if (known.count(path) == 0 && !isConverter(path)) {
                return "it opened " + path;
            }
        }
        const Outcome outcome = outcomeOf(scene());
        mostMemory_ = std::max(mostMemory_, outcome.peak);
        longest_ = std::max(longest_, outcome.time);
        longestLog_ = std::max(longestLog_, outcome.lines);
        if (outcome.peak > mostOf(size)) {
            return "the memory grew by " + std::to_string(outcome.peak) + " KiB";
        }
        if (outcome.lines > mostLines) {
            return "the log has " + std::to_string(outcome.lines) + " lines";
        }
        return outcome.wrong;
    }

    /// The C library's own, for a text in a foreign encoding.
    static bool isConverter(const std::string& path) { return path.find("/gconv/") != std::string::npos; }

    /// What a text costs in wide characters, in the copies that are made of it and in the log that says what it was.
    static long mostOf(std::size_t size) {
        const long plain = 32 * 1024 + static_cast<long>(size / 1024) * 40;
        return simulation::sequences(10) == 10 ? plain : 1024 * 1024 + 4 * plain;
    }

    Trial& trial_;
    const InputFiles files_;
    std::map<std::string, std::set<std::string>> known_;  ///< by the name of the input
    long mostMemory_ = 0;
    long longest_ = 0;
    std::size_t longestLog_ = 0;
};

/// The inputs that are documents of a form.
std::vector<const Input*> documents(std::initializer_list<Input::Form> forms) {
    std::vector<const Input*> all;
    for (const auto* const some : {&inputs(), &furtherInputs()}) {
        for (const Input& input : *some) {
            if (std::find(forms.begin(), forms.end(), input.form) != forms.end()) {
                all.push_back(&input);
            }
        }
    }
    return all;
}

std::vector<const Input*> allDocuments() {
    using Form = Input::Form;
    return documents({Form::Server, Form::Local, Form::Version, Form::Chain});
}

/// A long run takes all inputs; a quick one a random server's document, a random local file and one of the two others,
/// and of the largest attacks, which take a second each, only some.
std::vector<const Input*> placesFor(const Attack& attack, Trial& trial) {
    using Form = Input::Form;
    if (Trial::isLong()) {
        return allDocuments();
    }
    const bool isLarge = attack.prolog.size() + attack.inside.size() + attack.attribute.size() > largest;
    if (isLarge && !trial.picks(1, 6)) {
        return {};
    }
    const auto oneOf = [&](std::initializer_list<Form> forms) {
        const std::vector<const Input*> all = documents(forms);
        return all[trial.below(all.size())];
    };
    return {oneOf({Form::Server}), oneOf({Form::Local}), oneOf({Form::Version, Form::Chain})};
}

std::string documentFor(const Input& input, const Attack& attack) {
    const std::string key = QuillCoreUtils::toString(input.key);
    switch (input.form) {
    case Input::Form::Version:
        return attack.asVersionAnswer();
    case Input::Form::Chain:
        return attack.asChainFile();
    case Input::Form::Local:
        return attack.asLocalFile(key);
    default:
        return attack.asServerFile(key);
    }
}

TEST(HostileDocuments, AreBoundedReachNothingOutsideAndLeaveAllOtherStoresTheirAnswers) {
    Trial trial("hostile", "documents");
    if (!tracingIsAllowed(trial)) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    const fakes::TemporaryDirectory directory;
    directory.write("outside/secret.txt", forbiddenText);
    directory.write("outside/secret.dtd", "<!ENTITY e '" + std::string(forbiddenText) + "'>");
    const std::vector<Attack> all = attacks(directory.path("outside"), 9);
    Tester tester(trial);
    for (const Input* const input : allDocuments()) {
        ASSERT_TRUE(tester.learn(*input)) << input->name;
    }
    for (const Attack& attack : all) {
        for (const Input* const input : placesFor(attack, trial)) {
            if (!trial.hasLost()) {
                tester.tryWith(*input, attack.name, documentFor(*input, attack));
            }
        }
    }
    trial.remark(tester.figures());
    RecordProperty("figures", tester.figures());
}

}  // namespace
}  // namespace torture
