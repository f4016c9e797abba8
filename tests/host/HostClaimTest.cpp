// What a host and other programs on its configuration directory know of each other.

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

#include "ConfigService.h"
#include "ConfigValue.h"
#include "HostOn.h"
#include "fakes/TemporaryDirectory.h"
#include "impl/system/DirectoryClaim.h"

using host::ReferenceHost;
using platform::DirectoryClaim;
using testing::HasSubstr;
using testing::Not;

namespace {

class HostClaim : public testing::Test {
protected:
    HostClaim() {
        std::filesystem::create_directories(place_);
        options_.logLevel = 3;
        options_.logFile = directory_.path("log");
    }

    /// What a host logs that starts and stops.
    std::string logOfAHost() const {
        ReferenceHost host(options_);
        EXPECT_TRUE(host.start());
        host.stop();
        return directory_.read("log");
    }

    /// Of this very process, whose name is another one under a debugger.
    std::string warning() const {
        std::string name;
        std::ifstream file("/proc/self/comm");
        std::getline(file, name);
        return "[ReferenceHost] start: another program works on the configuration directory: process " +
               std::to_string(getpid()) + ", " + name +
               "; neither notices what the other stores, and the last to save wins\n";
    }

    const fakes::TemporaryDirectory directory_;
    const std::string place_ = directory_.path("config");
    ReferenceHost::Options options_ = hostOptionsOn(directory_);
};

}  // namespace

TEST_F(HostClaim, LastsAsLongAsTheHostRuns) {
    ReferenceHost host(options_);
    EXPECT_FALSE(DirectoryClaim(place_).resident());
    ASSERT_TRUE(host.start());
    ASSERT_TRUE(DirectoryClaim(place_).resident());
    EXPECT_EQ(DirectoryClaim(place_).resident()->process, getpid());
    host.stop();
    EXPECT_FALSE(DirectoryClaim(place_).resident());
}

TEST_F(HostClaim, IsNotMadeByAHostThatIsToldSo) {
    options_.claimsDirectory = false;
    ReferenceHost host(options_);
    ASSERT_TRUE(host.start());
    EXPECT_FALSE(DirectoryClaim(place_).resident());
}

TEST_F(HostClaim, IsMadeUnlessAHostIsToldOtherwise) { EXPECT_TRUE(ReferenceHost::Options().claimsDirectory); }

TEST_F(HostClaim, EndsWithAStartThatFails) {
    options_.inject = [](const std::shared_ptr<UnifiedFactory>&) {};
    ReferenceHost host(options_);
    ASSERT_FALSE(host.start());
    EXPECT_FALSE(DirectoryClaim(place_).resident());
}

TEST_F(HostClaim, OfAMissingDirectoryMakesNone) {
    std::filesystem::remove(place_);
    ReferenceHost host(options_);
    ASSERT_TRUE(host.start());
    EXPECT_FALSE(std::filesystem::exists(place_));
}

TEST_F(HostClaim, WarnsOfAnotherResident) {
    DirectoryClaim other(place_);
    other.becomeResident();
    EXPECT_THAT(logOfAHost(), HasSubstr(warning()));
}

TEST_F(HostClaim, WarnsOfNobodyWhereNobodyIs) { EXPECT_THAT(logOfAHost(), Not(HasSubstr("another program"))); }

TEST_F(HostClaim, WarnsOfAWriterThatDoesNotEnd) {
    DirectoryClaim other(place_);
    ASSERT_FALSE(other.takeTurn());
    EXPECT_THAT(logOfAHost(), HasSubstr(warning()));
}

TEST_F(HostClaim, WaitsForAWriterSoThatItReadsWhatThatStores) {
    auto writer = std::make_unique<DirectoryClaim>(place_);
    ASSERT_FALSE(writer->takeTurn());
    std::thread end([&] {
        while (!writer->resident()) {
            std::this_thread::yield();
        }
        directory_.write("config/corvidLocalConfig.xml", "<Corvid><userConfig name=\"A\" value=\"1\"/></Corvid>");
        writer.reset();
    });
    ReferenceHost host(options_);
    EXPECT_TRUE(host.start());
    end.join();
    std::wstring value;
    host.runOnDispatcher([&] { value = host.service()->getConfig(L"A")->getValue(); });
    EXPECT_EQ(value, L"1");
    host.stop();
    EXPECT_THAT(directory_.read("log"), Not(HasSubstr("another program")));
}
