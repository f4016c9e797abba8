#include "stores/BootstrapConfigStore.h"

#include <algorithm>
#include <array>
#include <streambuf>
#include <string_view>
#include <utility>

#include "InputFile.h"
#include "chain/DisableP2PCallOnFips.h"
#include "chain/WipedAtEnd.h"
#include "quill/StringUtils.h"
#include "tessel/SecureStringUtils.h"
#include "tessel/TesselLogger.h"

namespace {

/// Appends to a text. One that grew by itself would leave a copy of a secret behind.
void append(std::string& text, std::string_view piece) {
    if (text.capacity() - text.size() < piece.size()) {
        std::string longer;
        const WipedAtEnd wiped(longer);
        longer.reserve(2 * (text.size() + piece.size()));
        longer.append(text);
        text.swap(longer);
    }
    text.append(piece);
}

/// @return false if the file cannot be read; a folder opens like a file and fails at the first read only.
bool readContents(const std::string& path, std::string& contents) {
    InputFile file(path, InputFile::Pipes::Read);
    std::array<char, 4096> piece{};
    int count = file.read(piece.data(), static_cast<int>(piece.size()));
    for (; count > 0; count = file.read(piece.data(), static_cast<int>(piece.size()))) {
        const auto length = static_cast<std::size_t>(count);
        append(contents, {piece.data(), length});
        tessel::SecureStringUtils::TesselZeroMemory(piece.data(), length);
    }
    return count == 0;
}

/// Lets a stream read a text in its place: one of its own would be a copy that nobody overwrites.
class TextInPlace : public std::streambuf {
public:
    explicit TextInPlace(std::string& text) { setg(text.data(), text.data(), text.data() + text.size()); }
};

}  // namespace

BootstrapConfigStore::BootstrapConfigStore(const std::string& name, const std::string& filePath, std::int32_t priority)
    : priority_(priority), filePath_(filePath), name_(name) {
    std::string contents;
    const WipedAtEnd wiped(contents);
    if (!readContents(filePath_, contents)) {
        static TesselLogger* const logger = TesselLogger_getLogger("BootstrapConfigStore");
        TesselLog(logger, 3, __FILE__, __LINE__, "BootstrapConfigStore",
                  L"File does not exist " + QuillCoreUtils::toWideString(filePath_));
        return;
    }
    TextInPlace text(contents);
    std::istream file(&text);
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
    ConfigMap values;
    while (stream.good()) {
        std::string line;
        const WipedAtEnd wiped(line);
        std::getline(stream, line);
        if (!line.empty()) {
            takeLine(line, values);
        }
    }
    values_.exchange(std::move(values));
    return true;
}

void BootstrapConfigStore::takeLine(const std::string& line, ConfigMap& values) {
    std::string key;
    std::string value;
    const WipedAtEnd wipedKey(key);
    const WipedAtEnd wipedValue(value);
    if (readKeyValue(line, key, value)) {
        std::wstring wideKey = QuillCoreUtils::toWideString(key);
        std::wstring wideValue = QuillCoreUtils::toWideString(value);
        const WipedAtEnd wipedWideKey(wideKey);
        const WipedAtEnd wipedWideValue(wideValue);
        std::wstring& held = values[wideKey];
        tessel::SecureStringUtils::TesselZeroWstring(held);  // of an earlier line of that key
        held = wideValue;
    }
}

bool BootstrapConfigStore::readKeyValue(const std::string& line, std::string& key, std::string& value) {
    if (isLineComment(QuillCoreUtils::trimleft(line))) {
        return false;
    }
    std::vector<std::string> parts;
    const WipedAtEnd wipedParts(parts);
    // One that grew by itself would leave a copy of its short parts behind.
    parts.reserve(static_cast<std::size_t>(std::count(line.begin(), line.end(), SPLITTER().front())) + 1);
    QuillCoreUtils::split(line, parts, SPLITTER());
    if (!isValidConfigValue(parts)) {
        return false;
    }
    key = QuillCoreUtils::trimmed(parts.front());
    std::string joined;
    const WipedAtEnd wipedJoined(joined);
    joined.reserve(line.size());
    for (std::size_t index = 1; index < parts.size(); ++index) {
        joined += parts[index];
        if (index + 1 < parts.size()) {
            joined += SPLITTER();
        }
    }
    value = QuillCoreUtils::trimmed(joined);
    return true;
}

bool BootstrapConfigStore::isLineComment(std::string line) {
    const WipedAtEnd wiped(line);
    return line.starts_with('#');
}

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
