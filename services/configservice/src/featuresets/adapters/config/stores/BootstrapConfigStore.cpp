#include "stores/BootstrapConfigStore.h"

#include <array>
#include <optional>
#include <sstream>
#include <utility>

#include "InputFile.h"
#include "chain/DisableP2PCallOnFips.h"
#include "quill/StringUtils.h"
#include "tessel/TesselLogger.h"

namespace {

/// @return nothing if the file cannot be read; a folder opens like a file and fails at the first read only.
std::optional<std::string> contentsOf(const std::string& path) {
    InputFile file(path, InputFile::Pipes::Read);
    std::string text;
    std::array<char, 4096> piece{};
    int count = file.read(piece.data(), static_cast<int>(piece.size()));
    for (; count > 0; count = file.read(piece.data(), static_cast<int>(piece.size()))) {
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
    return count == 0 ? std::optional(std::move(text)) : std::nullopt;
}

}  // namespace

BootstrapConfigStore::BootstrapConfigStore(const std::string& name, const std::string& filePath, std::int32_t priority)
    : priority_(priority), filePath_(filePath), name_(name) {
    std::optional<std::string> contents = contentsOf(filePath_);
    if (!contents) {
        static TesselLogger* const logger = TesselLogger_getLogger("BootstrapConfigStore");
        TesselLog(logger, 3, __FILE__, __LINE__, "BootstrapConfigStore",
                  L"File does not exist " + QuillCoreUtils::toWideString(filePath_));
        return;
    }
    std::istringstream file(*std::move(contents));
    readConfigFromFile(file);
    values_.inOrder();  // so that getKeys() changes nothing
}

bool BootstrapConfigStore::getValue(const std::wstring& key, std::wstring& value) {
    return lookUp(FoldedKey(key), value);
}

bool BootstrapConfigStore::lookUp(const FoldedKey& key, std::wstring& value) {
    const bool found = getValueFromMap(values_, key, value);
    DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(key.text(), value);
    return found;
}

bool BootstrapConfigStore::storeValue(const std::wstring&, const std::wstring&) { return false; }

std::vector<std::wstring> BootstrapConfigStore::getKeys() { return values_.keys(); }

bool BootstrapConfigStore::removeValue(const std::wstring&) { return false; }

void BootstrapConfigStore::removeAllValues() {}

bool BootstrapConfigStore::isReadOnly() { return true; }

std::string BootstrapConfigStore::getName() { return name_; }

std::int32_t BootstrapConfigStore::getPriority() { return priority_; }

void BootstrapConfigStore::persistValues() {}

void BootstrapConfigStore::destroy() {}

bool BootstrapConfigStore::isLocal() { return true; }

bool BootstrapConfigStore::waitForStoreReady() { return true; }

bool BootstrapConfigStore::shouldCacheConfigStore() { return false; }

const std::string& BootstrapConfigStore::SPLITTER() {
    static const std::string splitter = ":";
    return splitter;
}

bool BootstrapConfigStore::readConfigFromFile(std::istream& stream) {
    std::string line;
    while (stream.good()) {
        line.clear();
        std::getline(stream, line);
        std::string key;
        std::string value;
        if (!line.empty() && readKeyValue(line, key, value)) {
            const std::wstring name = QuillCoreUtils::toWideString(key);
            values_.set(FoldedKey(name), QuillCoreUtils::toWideString(value));
        }
    }
    return true;
}

bool BootstrapConfigStore::readKeyValue(const std::string& line, std::string& key, std::string& value) {
    if (isLineComment(QuillCoreUtils::trimleft(line))) {
        return false;
    }
    std::vector<std::string> parts;
    QuillCoreUtils::split(line, parts, SPLITTER());
    if (!isValidConfigValue(parts)) {
        return false;
    }
    key = QuillCoreUtils::trim(parts.front());
    value.clear();
    for (std::size_t index = 1; index < parts.size(); ++index) {
        value += parts[index];
        if (index + 1 < parts.size()) {
            value += SPLITTER();
        }
    }
    value = QuillCoreUtils::trim(value);
    return true;
}

bool BootstrapConfigStore::isLineComment(std::string line) { return line.starts_with('#'); }

bool BootstrapConfigStore::isValidConfigValue(const std::vector<std::string>& parts) { return !parts.empty(); }

bool BootstrapConfigStore::getValueFromMap(const KeyedValues& map, const FoldedKey& key, std::wstring& value) {
    const std::wstring* const found = filter_.mayHold(key.mark()) ? map.find(key) : nullptr;
    if (found == nullptr) {
        value.clear();
        return false;
    }
    value = QuillCoreUtils::trim(*found);
    return true;
}
