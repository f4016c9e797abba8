#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "Campaign.h"
#include "DownloadOracle.h"
#include "DownloadStepGenerator.h"
#include "DownloadWorld.h"
#include "ListDifference.h"
#include "Sanitized.h"

namespace simulation {
namespace {

constexpr std::uint64_t FIRST_SEED = 500001;
constexpr std::size_t SEQUENCES = 3000;

std::optional<std::string> differenceAfter(const DownloadStep& step, DownloadOracle& model, DownloadWorld& module) {
    model.apply(step);
    module.apply(step);
    if (auto text = differenceOf("line", model.facts(), module.facts())) {
        return text;
    }
    return module.brokenPromise();
}

std::optional<Difference> firstDifference(const ServerDetails& start, const std::vector<DownloadStep>& steps) {
    DownloadOracle model(start);
    DownloadWorld module(start);
    for (std::size_t index = 0; index < steps.size(); ++index) {
        if (auto text = differenceAfter(steps[index], model, module)) {
            return Difference{index, *text};
        }
    }
    if (auto text = module.leftBehind()) {
        return Difference{steps.size() - 1, *text};
    }
    return std::nullopt;
}

TEST(TheRemoteStore, DoesAsTheModelSaysThroughRandomSequences) {
    for (const std::uint64_t seed : campaignSeeds(FIRST_SEED, sequences(SEQUENCES))) {
        DownloadStepGenerator generator(seed);
        const std::vector<DownloadStep> steps = generator.sequence(40);
        const auto difference = [&](const std::vector<DownloadStep>& some) {
            return firstDifference(generator.start(), some);
        };
        ASSERT_FALSE(difference(steps)) << "made with " << describe(generator.start()) << "\n"
                                        << reportOfFailure(seed, steps, difference);
    }
}

/// What must turn up among a campaign's lines for it to have tried everything.
const std::vector<std::string> LANDMARKS = {
    "There has not already been a successful tftp file download.",
    "file already downloaded.",
    "Disallowing download. Reason: This tftp server 1 (",
    "Disallowing download. Reason: This tftp server 2 (",
    "Disallowing download. Reason: This tftp server 3 (",
    "different to the last successful tftp server 1 (",
    "different to the last successful tftp server 2 (",
    "different to the last successful tftp server 3 (",
    "is different to the last tftp server 1 (alpha.example) used.",
    "is different to the last tftp server 1 (alpha.example) address used.",
    "is different to the last tftp server 3 (alpha.example) address already used.",
    "from config service key 'HomeUdsVersion' is: ",
    "from querying primary HUBCIP server 'hub1.example' is: 12.5",
    "from querying backup HUBCIP server1 'hub1.example' is: ",
    "from querying backup HUBCIP server2 'hub1.example' is: ",
    "from querying the tftp server 'alpha.example' is: 10.5.2",
    "The UDS version is invalid or empty: 11.5SU1",
    "The UDS version is invalid or empty: eleven",
    "The UDS version http response was empty.",
    "was NOT set into In-Memory Config Store",
    "The Tftp version is less than 11.0 (10).",
    "The Tftp version is 11.0 or greater (11).",
    "The Tftp version is 11.0 or greater (2147483647).",
    "No TFTP server address available in server queue.",
    "No attempt will be made to download TFTP config.",
    "Download of TFTP File failed for server ALPHA.example.........",
    "New TFTP file provided canceling query and trying new details",
    "currentQueryState is not FINISHED - Current State: 0",
    "currentQueryState is not FINISHED - Current State: 1",
    "currentQueryState is not FINISHED - Current State: 3",
    "theme: VALUE_HIDDEN",
    "[sealed second secret]",
    "answer for CertificateValidationEnabled: none",
    "value of telephony_p2p_enabled: [false]",
    "waitForStoreReady() - Finished timed wait",
    "observer 2 told, ready no, of meetings_enabled ringer",
    "observer 0 told, ready yes, of",
    "corvid-config.xml within 3 s, cancelled",
    "corvid-config.xml within 10 s",
    "superseded, keys 0",
    "cycle, stalled, keys 0",
    "cycle forced, exhausted, keys 0",
    "cycle, unreadable, keys 0",
    "delivered, keys 3",
};

TEST(TheRemoteStore, IsLedEverywhereByTheRandomSequences) {
    std::vector<std::string> missing = LANDMARKS;
    for (std::uint64_t seed = FIRST_SEED; seed < FIRST_SEED + SEQUENCES; ++seed) {
        DownloadStepGenerator generator(seed);
        DownloadOracle model(generator.start());
        for (const DownloadStep& step : generator.sequence(40)) {
            model.apply(step);
            for (const std::string& line : model.facts()) {
                std::erase_if(missing, [&](const std::string& landmark) { return line.find(landmark) != line.npos; });
            }
        }
        if (missing.empty()) {
            return;
        }
    }
    ADD_FAILURE() << "never met: " << testing::PrintToString(missing);
}

}  // namespace
}  // namespace simulation
