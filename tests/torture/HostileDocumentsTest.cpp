#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <fstream>
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
#include "quill/StringUtils.h"
#include "simulation/QuietXml.h"
#include "simulation/Sanitized.h"

namespace torture {
namespace {

// Only a reading that does not end takes as long.
const rlim_t mostSeconds = simulation::sequences(10) == 10 ? 15 : 60;

constexpr std::size_t largest = 1'000'000;

/// What a start of the module with some document came to, as its process tells it.
struct Outcome {
    std::string wrong;  ///< empty: nothing
    long peak = 0;      ///< KiB by which the memory grew at most
    long time = 0;      ///< milliseconds of processor time
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

std::string whatIsExpanded(Client& client) {
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

/// In a process of its own: starts the module with the document in place of one input.
int start(const Scene& scene, const Input& input, const std::string& document) {
    const simulation::QuietXml quiet;
    const rlimit limit{mostSeconds, mostSeconds};
    setrlimit(RLIMIT_CPU, &limit);
    forgetPeak();
    const long before = memory("VmRSS:");
    const long begun = processorTime();
    Outcome outcome;
    {
        markBegin();
        Client client(scene);
        outcome.wrong = whatIsUnanswered(client, input, document);
        markEnd();
        outcome.time = processorTime() - begun;
        outcome.peak = memory("VmHWM:") - before;
        outcome.wrong = outcome.wrong.empty() ? whatIsExpanded(client) : outcome.wrong;
    }
    std::ofstream(scene.folder() + "/outcome") << outcome.peak << ' ' << outcome.time << ' ' << outcome.wrong << '\n';
    return 0;
}

Outcome outcomeOf(const Scene& scene) {
    Outcome outcome;
    std::ifstream file(scene.folder() + "/outcome");
    file >> outcome.peak >> outcome.time;
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
            trial_.lost("in the " + input.name + " file, " + attack + ": " + wrong, scene().folder());
        }
    }

    std::string figures() const {
        std::ostringstream text;
        text << "at most " << mostMemory_ / 1024 << " MiB more memory, " << longest_ << " ms";
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
        if (outcome.peak > mostOf(size)) {
            return "the memory grew by " + std::to_string(outcome.peak) + " KiB";
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
};

/// The inputs that are documents: those in the form of a server's file first.
std::vector<const Input*> documents() {
    std::vector<const Input*> all;
    for (const Input::Form form : {Input::Form::Server, Input::Form::Local}) {
        for (const Input& input : inputs()) {
            if (input.form == form) {
                all.push_back(&input);
            }
        }
    }
    return all;
}

/// A long run takes all inputs; a quick one a random input of each form, and of the largest attacks, which take a
/// second each, only some.
std::vector<const Input*> placesFor(const Attack& attack, Trial& trial) {
    const std::vector<const Input*> all = documents();
    if (Trial::isLong()) {
        return all;
    }
    const bool isLarge = attack.prolog.size() + attack.inside.size() + attack.attribute.size() > largest;
    if (isLarge && !trial.picks(1, 6)) {
        return {};
    }
    const auto locals =
        std::find_if(all.begin(), all.end(), [](const Input* input) { return input->form == Input::Form::Local; });
    const auto servers = static_cast<std::uint64_t>(locals - all.begin());
    return {all[trial.below(servers)], all[servers + trial.below(all.size() - servers)]};
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
    for (const Input* const input : documents()) {
        ASSERT_TRUE(tester.learn(*input)) << input->name;
    }
    for (const Attack& attack : all) {
        for (const Input* const input : placesFor(attack, trial)) {
            if (!trial.hasLost()) {
                const std::string key = QuillCoreUtils::toString(input->key);
                const bool isServers = input->form == Input::Form::Server;
                tester.tryWith(*input, attack.name, isServers ? attack.asServerFile(key) : attack.asLocalFile(key));
            }
        }
    }
    trial.remark(tester.figures());
    RecordProperty("figures", tester.figures());
}

}  // namespace
}  // namespace torture
