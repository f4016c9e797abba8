#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "Trial.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/TemporaryDirectory.h"
#include "host/ReferenceHost.h"
#include "quill/StringUtils.h"
#include "stores/LocalFileConfigStore.h"
#include "support/BusClient.h"
#include "support/PrivateBus.h"
#include "system/SystemMonitor.h"
#include "system/World.h"

using torture::Trial;

namespace {

constexpr const wchar_t* COUNT_KEY = L"Count";
constexpr const wchar_t* OTHER_COUNT_KEY = L"OtherCount";
constexpr auto PROMPT = std::chrono::seconds(1);

host::ReferenceHost::Options hostOn(const fakes::TemporaryDirectory& directory, const support::PrivateBus& bus) {
    host::ReferenceHost::Options options;
    options.configDirectory = directory.path("config");
    options.installationDirectory = directory.path("install");
    options.bootstrapFilePath = directory.path("install/bootstrap.properties");
    options.fips = host::ReferenceHost::Options::Fips::Off;
    options.logLevel = 2;
    options.coreDumps = true;  // other tests of this program look into the processes that they make
    options.powerBusAddress = bus.address();
    return options;
}

/// Sets one value after another, on the dispatcher thread, for as long as it lives.
class BusyClient final : public TesselSystemMonitor::PowerEventObserver {
public:
    explicit BusyClient(host::ReferenceHost& host) : host_(host) {
        setNext();
        thread_ = std::thread([this] {
            while (!ended_) {
                setNext();
            }
        });
    }
    ~BusyClient() {
        ended_ = true;
        thread_.join();
    }

    BusyClient(const BusyClient&) = delete;
    BusyClient& operator=(const BusyClient&) = delete;

    /// How many values were acknowledged.
    std::int64_t acknowledged() const { return acknowledged_; }

    /// How many were, when the power down was told.
    std::int64_t acknowledgedBeforeTheEnd() const { return beforeTheEnd_; }

    void onPowerEvent(TesselSystemMonitor::PowerEventTypeEnum::PowerEventType /*type*/) override {
        beforeTheEnd_ = acknowledged_.load();
    }

private:
    void setNext() {
        host_.runOnDispatcher([this] {
            host_.service()->setConfig(COUNT_KEY, std::to_wstring(acknowledged_ + 1));
            ++acknowledged_;
        });
    }

    host::ReferenceHost& host_;
    std::atomic<bool> ended_ = false;
    std::atomic<std::int64_t> acknowledged_ = 0;
    std::atomic<std::int64_t> beforeTheEnd_ = -1;
    std::thread thread_;
};

/// Sets one value after another on a thread of its own, for as long as it lives.
class BusyThread {
public:
    explicit BusyThread(const host::ReferenceHost& host) : featureSet_(host.featureSet()) {
        setNext();
        thread_ = std::thread([this] {
            while (!ended_) {
                setNext();
            }
        });
    }
    ~BusyThread() {
        ended_ = true;
        thread_.join();
    }

    BusyThread(const BusyThread&) = delete;
    BusyThread& operator=(const BusyThread&) = delete;

    /// How many values were acknowledged.
    std::int64_t acknowledged() const { return acknowledged_; }

private:
    void setNext() {
        if (featureSet_->setConfig(OTHER_COUNT_KEY, std::to_wstring(acknowledged_ + 1))) {
            ++acknowledged_;
        }
    }

    const std::shared_ptr<ConfigFeatureSet> featureSet_;
    std::atomic<bool> ended_ = false;
    std::atomic<std::int64_t> acknowledged_ = 0;
    std::thread thread_;
};

std::int64_t countOnDisk(const fakes::TemporaryDirectory& directory, const wchar_t* key) {
    LocalFileConfigStore store("file", 20, directory.path("config"), "corvidLocalConfig.xml", false, true);
    std::wstring value;
    return store.getValue(key, value) ? QuillCoreUtils::toInt(value, -1) : 0;
}

/// Lets no file of a folder be replaced while it lives.
class HeldFolder {
public:
    explicit HeldFolder(const std::string& path) : descriptor_(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        EXPECT_EQ(flock(descriptor_, LOCK_EX), 0) << path;
    }
    ~HeldFolder() { close(descriptor_); }

    HeldFolder(const HeldFolder&) = delete;
    HeldFolder& operator=(const HeldFolder&) = delete;

private:
    const int descriptor_;
};

class PowerDowns : public testing::Test {
protected:
    PowerDowns() { logind_.own(support::BusClient::LOGIND); }

    void powerDownWhileValuesAreSet() {
        const fakes::TemporaryDirectory directory;
        host::ReferenceHost host(hostOn(directory, bus_));
        ASSERT_TRUE(host.start()) << host.failure();
        const support::LentDelay delay = logind_.lendDelay();
        const auto client = std::make_shared<BusyClient>(host);
        platform::getWorld()->systemMonitor->addPowerEventObserver(client);
        const BusyThread thread(host);
        trial_.passUpTo(std::chrono::milliseconds(3));
        ASSERT_TRUE(delay.isHeld());
        const std::int64_t beforeItWasAnnounced = thread.acknowledged();
        const auto announced = std::chrono::steady_clock::now();
        logind_.emit({"PrepareForShutdown"});
        delay.waitForItsEnd();
        const auto took = std::chrono::steady_clock::now() - announced;
        longest_ = std::max(longest_, took);
        if (took > Trial::longest(PROMPT)) {
            trial_.lost("the machine was held up for longer than a second", directory.path("config"));
        }
        const std::int64_t onDisk = countOnDisk(directory, COUNT_KEY);
        const std::int64_t othersOnDisk = countOnDisk(directory, OTHER_COUNT_KEY);
        if (onDisk != client->acknowledgedBeforeTheEnd()) {
            trial_.lost("on disk " + std::to_string(onDisk) + ", acknowledged before the end of the stores " +
                            std::to_string(client->acknowledgedBeforeTheEnd()),
                        directory.path("config"));
        }
        if (othersOnDisk < beforeItWasAnnounced) {
            trial_.lost("of another thread on disk " + std::to_string(othersOnDisk) +
                            ", acknowledged before the announcement " + std::to_string(beforeItWasAnnounced),
                        directory.path("config"));
        }
        acknowledged_ += onDisk + othersOnDisk;
    }

    /// What is on disk a moment after the machine goes on may have got there too late: nothing may be let go of while
    /// nothing can get there.
    void powerDownWhileNothingCanBeWritten() {
        const fakes::TemporaryDirectory directory;
        host::ReferenceHost host(hostOn(directory, bus_));
        ASSERT_TRUE(host.start()) << host.failure();
        const support::LentDelay delay = logind_.lendDelay();
        std::filesystem::create_directories(directory.path("config"));
        {
            const HeldFolder held(directory.path("config"));
            host.runOnDispatcher([&] { host.service()->setConfig(COUNT_KEY, L"1"); });
            const fakes::ScopedRecordingLog log(4);
            logind_.emit({"PrepareForShutdown"});
            log->waitFor("Power event [3]");
            // It has heard of it, and goes on to the folder.
            trial_.passUpTo(std::chrono::milliseconds(20));
            if (!delay.isHeld()) {
                trial_.lost("the machine went on before the value could be written", directory.path("config"));
            }
        }
        delay.waitForItsEnd();
        EXPECT_EQ(countOnDisk(directory, COUNT_KEY), 1);
    }

    void tellTheLongest() {
        using Milliseconds = std::chrono::duration<double, std::milli>;
        const std::string text = "the longest held the machine up for " +
                                 std::to_string(std::llround(std::ceil(Milliseconds(longest_).count()))) + " ms";
        std::cout << text << "; " << acknowledged_ << " values were acknowledged\n";
        trial_.remark(text);
    }

    support::PrivateBus bus_;
    support::BusClient logind_{bus_.address()};
    Trial trial_{"power", "power downs", 10, 100};
    std::chrono::steady_clock::duration longest_{};
    std::int64_t acknowledged_ = 0;
};

}  // namespace

TEST_F(PowerDowns, WaitUntilWhatWasAcknowledgedIsOnDisk) {
    while (trial_.nextRound()) {
        trial_.tried();
        ASSERT_NO_FATAL_FAILURE(powerDownWhileValuesAreSet());
        ASSERT_NO_FATAL_FAILURE(powerDownWhileNothingCanBeWritten());
    }
    tellTheLongest();
    EXPECT_GT(acknowledged_, 0);
}
