// Any bytes as the user's file: it is read or set aside whole, and what the store writes afterwards is read back.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "Oracle.h"
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::keepXmlQuiet();
    static const fuzz::Folder folder;
    const std::string file = folder.write("local.xml", data, size);
    const std::string backup = folder.path() + "/local-backup.xml";
    std::filesystem::remove(backup);
    LocalFileConfigStore store("fuzzed", 20, folder.path(), "local.xml", false, false);
    fuzz::demand(std::filesystem::exists(file) != std::filesystem::exists(backup), "neither read nor set aside");
    if (std::filesystem::exists(backup)) {
        fuzz::demand(std::filesystem::file_size(backup) == size, "a backup that is cut");
        fuzz::demand(store.getKeys().empty(), "values of a file that was set aside");
    }
    store.storeValue(L"fuzzed", L"yes");
    store.persistValues();
    LocalFileConfigStore reader("fuzzed", 20, folder.path(), "local.xml", false, true);
    fuzz::demand(contentsOf(reader) == contentsOf(store), "other values after a restart");
    return 0;
}
