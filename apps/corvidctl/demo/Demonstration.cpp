#include "demo/Demonstration.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <utility>

#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "ConfigStoreConstants.h"
#include "ConfigValue.h"
#include "demo/DetourStore.h"
#include "demo/SampleServer.h"
#include "demo/TextFile.h"
#include "fetching/KeptCopy.h"
#include "fetching/RemoteSource.h"
#include "quill/StringUtils.h"
#include "session/ExitOnInterruption.h"
#include "session/ProfileCopy.h"
#include "session/Session.h"
#include "session/WatchScope.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::toString;
using QuillCoreUtils::toWideString;

constexpr const wchar_t* USER_KEY = L"LaunchOnSystemStartup";

/// The installer's file with one line more, as an installer writes it that was told the server's address.
std::string bootstrapNaming(const std::string& server, const Invocation& invocation) {
    const std::string& original = invocation.host.bootstrapFilePath;
    const std::string text = std::filesystem::exists(original) ? readTextFile(original) : std::string();
    return text + "\nTftpServer1: " + server + "\n";
}

/// What a client that asks nobody but the demonstration's server reads.
ConfigMap wantedServers(const std::string& server) {
    using namespace ConfigStoreConstants;
    return {{TFTP_SERVER_1_KEY, toWideString(server)},
            {TFTP_SERVER_2_KEY, L""},
            {TFTP_SERVER_3_KEY, L""},
            {HUBCIP_SERVER_1_KEY, L""},
            {HUBCIP_SERVER_2_KEY, L""},
            {HUBCIP_SERVER_3_KEY, L""}};
}

/// The same for what may be left to the module.
ConfigMap wantedIfDefined() {
    using namespace ConfigStoreConstants;
    return {{CONFIGURATION_FILE_KEY, toWideString(SampleServer::FILE_NAME)},
            {HOME_UDS_VERSION, toWideString(SampleServer::VERSION)}};
}

class Demonstrator {
public:
    Demonstrator(const Invocation& invocation, const std::string& profile, Interruption& interruption,
                 ProgressLine& progress)
        : profile_(profile),
          server_(folder_.path()),
          progress_(progress),
          session_(onCopy(invocation)),
          remote_(session_, interruption),
          watch_(session_, {}, [this](const ChangeView& change) { changes_.push_back(change); }) {}

    DemonstrationView run() {
        view_.server = server_.address();
        leadToTheServer();
        fetch();
        changeOnTheServer();
        changeByTheUser();
        remote_.stop();
        watch_.stop();
        session_.finish();
        return std::move(view_);
    }

private:
    Invocation onCopy(Invocation invocation) const {
        const std::string bootstrap = folder_.path() + "/bootstrap.properties";
        writeTextFile(bootstrap, bootstrapNaming(server_.address(), invocation));
        invocation.host.bootstrapFilePath = bootstrap;
        invocation.host.configDirectory = profile_.path();
        invocation.host.caFile = server_.caFile();
        return invocation;
    }

    /// A profile may name real servers. They are none of a demonstration's business.
    void leadToTheServer() {
        const std::shared_ptr<ConfigFeatureSet> featureSet = session_.host().featureSet();
        ConfigMap detour;
        const auto lead = [&](const ConfigMap& wanted, bool onlyIfDefined) {
            for (const auto& [key, value] : wanted) {
                std::wstring actual;
                const bool isDefined = featureSet->getConfig(key, actual, false);
                if (isDefined ? actual != value : !onlyIfDefined && !value.empty()) {
                    detour[key] = value;
                }
            }
        };
        lead(wantedServers(server_.address()), false);
        view_.namesServers = !detour.empty();
        lead(wantedIfDefined(), true);
        view_.isDetour = !detour.empty();
        if (view_.isDetour) {
            featureSet->addConfigStore(std::make_shared<DetourStore>(std::move(detour)));
        }
    }

    void fetch() {
        const std::vector<std::string> before = stores();
        takeChanges();
        remote_.start();
        view_.fetch = waitForDelivery(0);
        view_.changesOfFetch = takeChanges().size();
        const std::vector<std::string> after = stores();
        view_.storesThatCame = without(after, before);
        view_.storesThatWent = without(before, after);
        session_.work([this](Session::Inside& inside) {
            for (const std::wstring& key : inside.reader.definedKeys()) {
                view_.values.push_back(inside.reader.describe(key));
            }
        });
    }

    void changeOnTheServer() {
        view_.edits = {{"VoicmeailPollingInterval", "15"}, {"VoicemailPrimaryServer", "voicemail-3.example.org"}};
        for (const EditView& edit : view_.edits) {
            server_.change(edit.key, edit.value);
        }
        const std::uint64_t cyclesBefore = remote_.downloads().cyclesEver;
        remote_.fetchAgain();
        view_.secondFetch = waitForDelivery(cyclesBefore);
        for (const ChangeView& change : takeChanges()) {
            view_.serverChanges.push_back({valueBefore(change.value.key), change});
        }
    }

    void changeByTheUser() {
        session_.work([this](Session::Inside& inside) {
            const std::shared_ptr<ConfigValue> object = inside.service.getConfig(USER_KEY);
            view_.before = inside.reader.describe(*object);
            const std::wstring value = object->equals(L"true") ? L"false" : L"true";
            view_.userValue = toString(value);
            object->setConfig(value);
            view_.after = inside.reader.describe(*object);
        });
        view_.userChanges = takeChanges();
    }

    FetchView waitForDelivery(std::uint64_t cyclesBefore) {
        const ValueView version = storedVersion(session_);
        if (!remote_.waitUntilSettled(progress_)) {
            throw std::runtime_error("interrupted");
        }
        FetchView fetched = summarise(since(remote_.downloads(), cyclesBefore), version, false);
        if (!fetched.ok) {
            throw std::runtime_error("the demonstration's file could not be fetched: " + fetched.reason);
        }
        return fetched;
    }

    /// What the client has been told since the last call.
    std::vector<ChangeView> takeChanges() {
        std::vector<ChangeView> taken;
        session_.work([&](Session::Inside&) { taken = std::exchange(changes_, {}); });
        return taken;
    }

    std::vector<std::string> stores() {
        std::vector<std::string> names;
        session_.work([&](Session::Inside& inside) {
            const std::vector<StoreView> stores = inside.reader.stores();
            for (const StoreView& store : stores) {
                names.push_back(store.name);
            }
            if (view_.stores.empty()) {
                view_.stores = stores;
            }
        });
        return names;
    }

    static std::vector<std::string> without(const std::vector<std::string>& names,
                                            const std::vector<std::string>& known) {
        std::vector<std::string> rest;
        std::copy_if(names.begin(), names.end(), std::back_inserter(rest), [&known](const std::string& name) {
            return std::find(known.begin(), known.end(), name) == known.end();
        });
        return rest;
    }

    ValueView valueBefore(const std::string& key) const {
        const auto found = std::find_if(view_.values.begin(), view_.values.end(), [&key](const ValueView& value) {
            return QuillCoreUtils::caseInsensitiveStringEquals(value.key, key);
        });
        return found == view_.values.end() ? ValueView() : *found;
    }

    DemonstrationView view_;
    std::vector<ChangeView> changes_;  ///< dispatcher thread
    const ProfileCopy profile_;
    const TemporaryFolder folder_;
    SampleServer server_;
    ProgressLine& progress_;
    Session session_;
    RemoteSource remote_;
    WatchScope watch_;
};

}  // namespace

DemonstrationView demonstrate(const Invocation& invocation, const std::string& profile, Interruption& interruption,
                              ProgressLine& progress, const std::function<void()>& lastWords) {
    std::optional<Demonstrator> demonstrator;
    {
        std::optional<ExitOnInterruption> exit;
        if (lastWords) {
            exit.emplace(interruption, Status::AnswerIsNo, lastWords);
        }
        demonstrator.emplace(invocation, profile, interruption, progress);
    }
    return demonstrator->run();
}

}  // namespace corvidctl
