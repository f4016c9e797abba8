// Any bytes as the user's file: it is read or set aside whole, and what the store writes afterwards is read back.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>

#include "Oracle.h"
#include "quill/FileUtils.h"
#include "quill/StringUtils.h"
#include "stores/LocalFileConfigStore.h"

namespace {

/// Keys come back from the file in small letters.
ConfigMap contentsOf(ConfigStore& store) {
    ConfigMap values;
    for (const std::wstring& key : store.getKeys()) {
        store.getValue(key, values[QuillCoreUtils::toLowercase(key)]);
    }
    return values;
}

/// What the store writes is what a later start reads.
void restart(LocalFileConfigStore& store, const fuzz::Folder& folder) {
    store.storeValue(L"fuzzed", L"yes");
    store.persistValues();
    LocalFileConfigStore reader("fuzzed", 20, folder.path(), "local.xml", false, true);
    fuzz::demand(contentsOf(reader) == contentsOf(store), "other values after a restart");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::keepXmlQuiet();
    static const fuzz::Folder folder;
    const std::string file = folder.write("local.xml", data, size);
    const std::string backup = folder.path() + "/local-backup.xml";
    LocalFileConfigStore store("fuzzed", 20, folder.path(), "local.xml", false, false);
    const bool isRead = std::filesystem::exists(file);
    fuzz::demand(isRead != std::filesystem::exists(backup), "neither read nor set aside");
    if (isRead) {
        restart(store, folder);
        return 0;
    }
    std::string kept;
    QuillCoreUtils::FileUtils::readFile(backup, kept);
    fuzz::demand(kept == std::string(reinterpret_cast<const char*>(data), size), "a backup of other bytes");
    fuzz::demand(store.getKeys().empty(), "values of a file that was set aside");
    // Nothing is left of the input in the store, so that one restart tells of all.
    static bool isFirst = true;
    if (std::exchange(isFirst, false)) {
        restart(store, folder);
    }
    std::filesystem::remove(backup);
    return 0;
}
