// A client whose memory a test looks at: it comes to hold secrets, forgets them, and waits after each step to be looked
// at. It says the step's name on standard error, and goes on at SIGUSR1.
//
//   memory_client DIRECTORY [cores]
//
// DIRECTORY holds "config", "install" and "ca.pem"; "link", "user" and "password" there are texts whose bytes are all
// turned, so that the client alone makes the texts of them: a provisioning link, and two values to set, the second one
// for a key that is sensitive without a mark of the client's. With "cores" it may leave one.

#include <pthread.h>

#include <csignal>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

#include "ConfigAdapter.h"
#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "fakes/JournalWatch.h"
#include "host/ReferenceHost.h"
#include "quill/FileUtils.h"
#include "support/TurnedText.h"
#include "tessel/SecureStringUtils.h"

namespace {

sigset_t goOnSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    return signals;
}

void waitToBeLookedAt(const char* step) {
    std::cerr << step << "\n";
    const sigset_t signals = goOnSignal();
    int signal = 0;
    sigwait(&signals, &signal);
}

host::ReferenceHost::Options optionsIn(const std::string& directory, bool coreDumps) {
    host::ReferenceHost::Options options;
    options.coreDumps = coreDumps;
    options.configDirectory = directory + "/config";
    options.installationDirectory = directory + "/install";
    options.bootstrapFilePath = directory + "/install/bootstrap.properties";
    options.fips = host::ReferenceHost::Options::Fips::Off;
    options.caFile = directory + "/ca.pem";
    options.logLevel = 5;
    options.logFile = directory + "/log";
    options.powerEvents = false;
    return options;
}

/// The text of a file, known nowhere else in this process once its owner has wiped it.
std::wstring textOf(const std::string& file) {
    std::string turned;
    QuillCoreUtils::FileUtils::readFile(file, turned);
    std::wstring text;
    text.reserve(turned.size());
    for (const char byte : turned) {
        text += static_cast<wchar_t>(static_cast<unsigned char>(support::turned(byte)));
    }
    return text;
}

class MemoryClient {
public:
    MemoryClient(const std::string& directory, bool coreDumps)
        : directory_(directory), host_(optionsIn(directory, coreDumps)) {}

    bool run() {
        if (!host_.start()) {
            return false;
        }
        host_.runOnDispatcher([this] {
            host_.service()->setKeySensitive(L"OfTheUser");
            host_.service()->setKeySensitive(L"ServicesDomain");
        });
        waitToBeLookedAt("started");
        fetch();
        waitToBeLookedAt("fetched");
        set();
        waitToBeLookedAt("set");
        fetch();
        forget();
        waitToBeLookedAt("forgotten");
        host_.stop();
        waitToBeLookedAt("stopped");
        return true;
    }

private:
    void fetch() {
        fakes::JournalWatch watch(host_.adapter()->getDownloadJournal());
        host_.featureSet()->stopTftpConfigSource();
        host_.featureSet()->startTftpConfigSource();
        watch.waitUntilSettled();
        host_.persistAll();
        host_.runOnDispatcher([this] {
            host_.service()->getConfig(L"Secret");
            host_.service()->logConfig();
        });
    }

    void set() {
        host_.runOnDispatcher([this] {
            for (const auto& [key, file] : {std::pair(L"OfTheUser", "/user"), std::pair(passwordKey, "/password")}) {
                std::wstring value = textOf(directory_ + file);
                host_.service()->setConfig(key, value);
                tessel::SecureStringUtils::TesselZeroWstring(value);
            }
            std::wstring link = textOf(directory_ + "/link");
            host_.service()->setUrlProvisioningData(link);
            tessel::SecureStringUtils::TesselZeroWstring(link);
            host_.service()->logConfig();
        });
        host_.persistAll();
    }

    void forget() {
        host_.runOnDispatcher([this] {
            host_.service()->resetConfig(L"OfTheUser");
            host_.service()->resetConfig(passwordKey);
            host_.service()->removeConfigStoreAndCache(L"UrlProvisioningConfigStore");
            host_.service()->logConfig();
        });
        host_.persistAll();
    }

    static constexpr const wchar_t* passwordKey = L"ConnectionPassword";

    const std::string directory_;
    host::ReferenceHost host_;
};

}  // namespace

int main(int count, char** arguments) {
    const sigset_t signals = goOnSignal();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    MemoryClient client(arguments[1], count > 2);
    return client.run() ? 0 : 1;
}
