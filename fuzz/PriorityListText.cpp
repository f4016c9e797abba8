// Any text as the list of the stores that are cached: what is read of it is written in a form that is read in the same
// way, and taking a store out takes one entry, from the first place where its name stands, and nothing else.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Oracle.h"
#include "PriorityList.h"
#include "quill/StringUtils.h"

namespace {

/// Whether a text is the other one without what stands from a place on, to the next ";" or to its end.
bool lacksOneEntry(const std::wstring& text, const std::wstring& before, std::size_t from) {
    const std::size_t end = before.find(L';', from);
    return text == before.substr(0, from) + (end == std::wstring::npos ? L"" : before.substr(end + 1));
}

/// Takes out a store that is listed. Its place is sought by comparing at one after the other; the module searches a
/// copy in small letters.
void takeOut(const std::wstring& text, const std::wstring& store) {
    const std::wstring rest = PriorityList::textWithout(text, store);
    std::size_t from = 0;
    while (from < text.size() &&
           !QuillCoreUtils::caseInsensitiveStringEquals(std::wstring_view(text).substr(from, store.size()), store)) {
        ++from;
    }
    fuzz::demand(from < text.size(), "a store that stands nowhere in the list");
    fuzz::demand(lacksOneEntry(rest, text, from), "more or less than one entry taken out");
}

}  // namespace

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
    for (const auto& [store, priority] : list.entries()) {
        takeOut(text, store);
    }
    return 0;
}
