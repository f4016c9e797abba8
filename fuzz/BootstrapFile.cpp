// Any bytes as the installer's properties: each line gives one key at most, and a lookup never gives blanks around a
// value.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "Oracle.h"
#include "quill/StringUtils.h"
#include "stores/BootstrapConfigStore.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::Folder folder;
    BootstrapConfigStore store("fuzzed", folder.write("bootstrap.properties", data, size), 500);
    const auto lines = static_cast<std::size_t>(std::count(data, data + size, '\n')) + 1;
    const std::vector<std::wstring> keys = store.getKeys();
    fuzz::demand(keys.size() <= lines, "more keys than lines");
    for (const std::wstring& key : keys) {
        std::wstring value;
        fuzz::demand(store.getValue(key, value), "a key without a value");
        fuzz::demand(QuillCoreUtils::trim(value) == value, "blanks around a value");
    }
    return 0;
}
