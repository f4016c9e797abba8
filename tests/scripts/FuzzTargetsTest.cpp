#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

namespace {

namespace fs = std::filesystem;

std::string textOfSource(const char* name) {
    std::ifstream file(fs::path(CORVID_SOURCE_DIRECTORY) / name);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string targetOf(std::string corpus) {
    std::replace(corpus.begin(), corpus.end(), '-', '_');
    return "fuzz_" + corpus;
}

/// The targets that scripts/fuzz runs: one for each folder of inputs.
std::set<std::string> targetsOfTheFolders() {
    std::set<std::string> targets;
    for (const auto& folder : fs::directory_iterator(fs::path(CORVID_SOURCE_DIRECTORY) / "fuzz/corpus")) {
        targets.insert(targetOf(folder.path().filename()));
    }
    return targets;
}

TEST(FuzzTargets, AreMadeForEachFolderOfInputsAndNoOther) {
    std::set<std::string> made;
    std::istringstream lines(textOfSource("fuzz/CMakeLists.txt"));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string target, source, corpus;
        if (std::getline(words, target, '(') && target == "corvid_fuzz" && words >> target >> source >> corpus) {
            EXPECT_EQ(target, targetOf(corpus));
            made.insert(target);
        }
    }
    EXPECT_EQ(made, targetsOfTheFolders());
}

TEST(FuzzTargets, AreAllBuiltByThePresetOfTheScript) {
    // No other names in the presets begin so.
    const std::string presets = textOfSource("CMakePresets.json");
    std::set<std::string> built;
    for (std::size_t at = presets.find("\"fuzz_"); at != std::string::npos; at = presets.find("\"fuzz_", at + 1)) {
        built.insert(presets.substr(at + 1, presets.find('"', at + 1) - at - 1));
    }
    EXPECT_EQ(built, targetsOfTheFolders());
}

}  // namespace
