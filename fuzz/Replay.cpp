// Runs a fuzz target once over every file of the folders that it is given, for builds without the fuzzer. An input that
// takes more processor time than REPLAY_SECONDS, which only a hang can need, ends it.

#include <sys/time.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

/// After so much processor time the system ends the process: a handler of the signal might never run under a sanitizer,
/// which keeps it for the next call into a library. @param seconds 0: as many as it takes.
void allow(long seconds) {
    const itimerval left{{0, 0}, {seconds, 0}};
    setitimer(ITIMER_PROF, &left, nullptr);
}

std::vector<std::filesystem::path> filesIn(const char* folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const std::filesystem::path& path) {
    std::printf("%s\n", path.filename().c_str());
    std::fflush(stdout);  // the last name printed is the input that failed
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
    allow(REPLAY_SECONDS);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    allow(0);
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const std::filesystem::path& path : filesIn(argv[i])) {
            replay(path);
            ++count;
        }
    }
    std::printf("%zu inputs\n", count);
    return count > 0 ? 0 : 1;
}
