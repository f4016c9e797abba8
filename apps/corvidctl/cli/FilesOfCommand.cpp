#include "cli/FilesOfCommand.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "comparing/Operand.h"
#include "comparing/SimulationPlan.h"
#include "exporting/TargetFile.h"
#include "journal/JournalFile.h"

namespace corvidctl {

namespace {

std::vector<std::string> namedFiles(const Invocation& invocation) {
    std::vector<std::string> files = {invocation.caFile, invocation.writeCa.value_or(""), invocation.to.value_or("")};
    if (invocation.journal) {
        files.push_back(*invocation.journal);
        files.push_back(JournalFile::oldName(*invocation.journal));
    }
    if (invocation.command == "validate" || invocation.command == "serve") {
        files.insert(files.end(), invocation.arguments.begin(), invocation.arguments.end());
    }
    for (const SimulationPlan::Replacement& replacement : readPlan(invocation).replacements) {
        files.push_back(replacement.file.value_or(""));
    }
    std::erase(files, "");
    return files;
}

/// Whether one side of a comparison is the file, or a configuration with it.
bool isOfSide(const TargetFile& file, const std::string& word, const Invocation& invocation) {
    const Operand side = readOperand(word);
    if (side.kind == Operand::Kind::File) {
        return file.isSameAs(side.place);
    }
    host::ReferenceHost::Options host = invocation.host;
    host.configDirectory = side.place;
    return side.kind == Operand::Kind::Directory && file.belongsToModule(host);
}

}  // namespace

bool isFileOfCommand(const std::string& path, const Invocation& invocation) {
    std::error_code error;
    if (std::filesystem::is_character_file(path, error)) {
        return false;
    }
    const TargetFile file(path);
    const std::vector<std::string> files = namedFiles(invocation);
    const std::vector<std::string> sides = invocation.command == "diff" ? invocation.arguments : decltype(files){};
    return std::any_of(files.begin(), files.end(), [&](const auto& named) { return file.isSameAs(named); }) ||
           std::any_of(sides.begin(), sides.end(), [&](const auto& word) { return isOfSide(file, word, invocation); });
}

}  // namespace corvidctl
