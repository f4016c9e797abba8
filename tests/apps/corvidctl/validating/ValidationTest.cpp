#include "validating/Validation.h"

#include <sys/resource.h>

#include <filesystem>

#include "fakes/TemporaryDirectory.h"
#include "support/ForkedChild.h"

namespace {

constexpr std::uintmax_t LARGE = 512 * 1024 * 1024;

/// The most memory that this process has had so far, in bytes.
std::uintmax_t mostMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::uintmax_t>(usage.ru_maxrss) * 1024;
}

}  // namespace

TEST(Validation, HoldsNoLargeBrokenDocumentInMemory) {
    const fakes::TemporaryDirectory directory;
    const std::string file = directory.write("a.xml", "");
    std::filesystem::resize_file(file, LARGE);  // a hole, which takes no room on disk
    const int status = support::runForked([&file] {
        const std::uintmax_t before = mostMemory();
        const bool isValid = corvidctl::validateFile(file, false).valid;
        return isValid ? 1 : mostMemory() - before < LARGE / 4 ? 0 : 2;
    });
    EXPECT_EQ(status, 0);
}
