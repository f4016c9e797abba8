#include "DiskPicture.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "ModelTypes.h"

namespace simulation {

namespace {

std::string contentsOf(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream contents;
    contents << stream.rdbuf();
    return contents.str();
}

/// What stands between two marks at the place, which moves behind the second; none if the first mark is not there.
std::optional<std::string> between(const std::string& text, std::size_t& place, const std::string& first,
                                   const std::string& second) {
    if (text.compare(place, first.size(), first) != 0) {
        return std::nullopt;
    }
    const std::size_t begin = place + first.size();
    const std::size_t end = text.find(second, begin);
    if (end == std::string::npos) {
        return std::nullopt;
    }
    place = end + second.size();
    return text.substr(begin, end - begin);
}

/// Lines without the white space at their heads.
std::string flattened(const std::string& text) {
    std::istringstream lines(text);
    std::string flat;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t begin = line.find_first_not_of(' ');
        flat += begin == std::string::npos ? "" : line.substr(begin) + "\n";
    }
    return flat;
}

/// @param takeEntry moves the place behind one entry. @return the entries, and the text if something is left of it.
template <typename TakeEntry>
FileEntries readBody(const std::string& text, const std::string& head, const std::string& emptyTail,
                     const std::string& tail, const TakeEntry& takeEntry) {
    FileEntries entries;
    std::size_t place = head.size();
    if (text == head + emptyTail) {
        return entries;
    }
    if (text.compare(0, head.size(), head) == 0) {
        while (takeEntry(text, place, entries)) {
        }
    }
    if (text.compare(0, head.size(), head) != 0 || text.substr(place) != tail) {
        entries["not understood"] = text;
    }
    return entries;
}

const char* const DECLARATION = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

FileEntries readUserText(const std::string& text) {
    const auto takeEntry = [](const std::string& all, std::size_t& place, FileEntries& entries) {
        if (all.compare(place, 9, "<Corvid>\n") == 0) {
            place += 9;
        }
        const auto key = between(all, place, "<userConfig name=\"", "\" value=\"");
        const auto value = key ? between(all, place, "", "\"/>\n") : std::nullopt;
        if (!value) {
            return false;
        }
        entries[folded(*key)] = *value;
        return true;
    };
    return readBody(text, DECLARATION, "<Corvid/>\n", "</Corvid>\n", takeEntry);
}

FileEntries readCopyText(const std::string& text) {
    const auto takeEntry = [](const std::string& all, std::size_t& place, FileEntries& entries) {
        const std::string open = "<Corvid>\n<CachedConfig>\n";
        if (all.compare(place, open.size(), open) == 0) {
            place += open.size();
        }
        std::size_t next = place;
        auto key = all.compare(place, 2, "</") == 0 ? std::nullopt : between(all, next, "<", ">");
        if (!key) {
            return false;
        }
        std::string value;
        if (key->ends_with("/")) {
            key->pop_back();
        } else if (const auto content = between(all, next, "", "</" + *key + ">")) {
            value = *content;
        } else {
            return false;
        }
        place = next + 1;
        entries[folded(*key)] = value;
        return true;
    };
    return readBody(text, DECLARATION, "<Corvid>\n<CachedConfig/>\n</Corvid>\n", "</CachedConfig>\n</Corvid>\n",
                    takeEntry);
}

}  // namespace

std::optional<FileEntries> readUserFile(const std::string& configDirectory) {
    const std::filesystem::path path = configDirectory + "/corvidLocalConfig.xml";
    return std::filesystem::exists(path) ? std::optional(readUserText(flattened(contentsOf(path)))) : std::nullopt;
}

std::map<std::string, FileEntries> readCopies(const std::string& configDirectory) {
    std::map<std::string, FileEntries> copies;
    std::error_code none;
    for (const auto& file : std::filesystem::directory_iterator(configDirectory + "/Cache", none)) {
        copies[file.path().filename().string()] = readCopyText(flattened(contentsOf(file.path())));
    }
    return copies;
}

std::string strangeFile(const std::string& configDirectory) {
    for (const auto& file : std::filesystem::directory_iterator(configDirectory)) {
        const std::string name = file.path().filename().string();
        if (name != "corvidLocalConfig.xml" && name != "Cache") {
            return name;
        }
    }
    return {};
}

}  // namespace simulation
