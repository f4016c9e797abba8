// Any text as a provisioning link: the module takes what a plain reading of the rules takes, and sets nothing but the
// fourteen keys. Input: UTF-8, of which ill-formed bytes count as one character each.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "LinkOracle.h"
#include "quill/StringUtils.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::wstring link = QuillCoreUtils::toWideString(std::string_view(reinterpret_cast<const char*>(data), size));
    const std::string what = link_oracle::disagreement(link);
    if (!what.empty()) {
        std::fprintf(stderr, "provisioning link: %s\n", what.c_str());
        std::abort();
    }
    return 0;
}
