// Any bytes as the documents of a client and as what is done with it: the module starts over the documents, has read of
// the XML what a second reader finds, takes the steps, and after each of them answers and tells what the model of the
// chain says.
//
// An input is in seven parts, with the byte 0x1F between them, which no document may hold: the steps, the override
// file, the user's file, what a provisioning link has left, the installer's properties, the defaults, the copy of a
// server's file. A part that is empty or left out is a missing file. Each byte of the steps is one choice.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "Oracle.h"
#include "simulation/Comparison.h"
#include "simulation/StepGenerator.h"

namespace {

constexpr char separator = 0x1F;
constexpr std::size_t mostSteps = 30;
constexpr const char* files[] = {"config/corvid-config-user.xml",
                                 "config/corvidLocalConfig.xml",
                                 "config/Cache/cachedUrlProvisioningConfigStore.xml",
                                 "install/bootstrap.properties",
                                 "install/corvid-config-defaults.xml",
                                 "config/Cache/cachedTFTPConfigStore.xml"};

/// Takes the text up to the next separator off the rest.
std::string_view takePart(std::string_view& rest) {
    const std::string_view part = rest.substr(0, rest.find(separator));
    rest.remove_prefix(std::min(part.size() + 1, rest.size()));
    return part;
}

std::vector<simulation::Step> stepsOf(std::string_view choices) {
    simulation::StepGenerator generator([&choices] {
        const std::uint64_t number = choices.empty() ? 0 : static_cast<unsigned char>(choices.front());
        choices.remove_prefix(choices.empty() ? 0 : 1);
        return number;
    });
    std::vector<simulation::Step> steps;
    while (!choices.empty() && steps.size() < mostSteps) {
        steps.push_back(generator.next());
    }
    if (steps.empty()) {
        steps.emplace_back();
    }
    return steps;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::keepXmlQuiet();
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::vector<simulation::Step> steps = stepsOf(takePart(rest));
    simulation::Comparison comparison;
    comparison.prepare = [rest](fakes::ScopedWorld& world) {
        std::string_view documents = rest;
        for (const char* const file : files) {
            if (const std::string_view document = takePart(documents); !document.empty()) {
                world.directory().write(file, std::string(document));
            }
        }
    };
    if (const auto difference = simulation::firstDifference(steps, comparison)) {
        for (const simulation::Step& step : steps) {
            std::fprintf(stderr, "    %s\n", describe(step).c_str());
        }
        // The text may hold NULs, as the documents may.
        std::fprintf(stderr, "after step %zu: ", difference->step);
        std::fwrite(difference->text.data(), 1, difference->text.size(), stderr);
        std::fputc('\n', stderr);
        std::abort();
    }
    return 0;
}
