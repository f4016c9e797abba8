#include "journal/JournalReader.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <utility>

#include "journal/JournalFile.h"
#include "journal/JournalText.h"

namespace corvidctl {

namespace {

void readFile(const std::string& path, JournalReading& reading) {
    std::ifstream file(path, std::ios::binary);
    std::string line;
    for (std::size_t number = 1; std::getline(file, line); ++number) {
        if (line.empty()) {
            continue;
        }
        if (std::optional<JournalBatch> batch = journaltext::batchOf(line)) {
            reading.batches.push_back(*std::move(batch));
        } else {
            reading.damages.push_back({path, number, file.eof()});
        }
    }
    if (!file.eof()) {
        throw std::runtime_error("the journal " + path + " could not be read: " + std::strerror(errno));
    }
}

}  // namespace

JournalReading readJournal(const std::string& path) {
    JournalReading reading;
    for (const std::string& file : {JournalFile::oldName(path), path}) {
        if (std::filesystem::exists(file)) {
            readFile(file, reading);
        }
    }
    return reading;
}

}  // namespace corvidctl
