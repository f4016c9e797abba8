// Any text as the list of the stores that are cached: what is read of it is written in a form that is read in the same
// way, and taking a store out takes nothing else.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Oracle.h"
#include "PriorityList.h"
#include "quill/StringUtils.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::wstring text = QuillCoreUtils::toWideString(std::string_view(reinterpret_cast<const char*>(data), size));
    const PriorityList list = PriorityList::parse(text);
    const std::wstring written = list.toText();
    fuzz::demand(PriorityList::parse(written).entries() == list.entries(), "other entries after writing them");
    fuzz::demand(PriorityList::parse(written).toText() == written, "another text after reading it");
    PriorityList longer = list;
    longer.set(L"A store of the fuzzer's", 7);
    fuzz::demand(longer.entries().size() <= list.entries().size() + 1, "more than one new entry");
    fuzz::demand(PriorityList::textWithout(text, L"no such store anywhere") == text, "a change without the store");
    return 0;
}
