#include "PriorityList.h"

#include <vector>

#include "quill/StringUtils.h"

PriorityList PriorityList::parse(const std::wstring& text) {
    PriorityList list;
    std::vector<std::wstring> pieces;
    QuillCoreUtils::split(text, pieces, L";");
    for (const std::wstring& piece : pieces) {
        std::vector<std::wstring> parts;
        QuillCoreUtils::split(piece, parts, L":");
        if (parts.size() == 2) {
            list.entries_[parts[0]] = parts[1];
        }
    }
    return list;
}

std::wstring PriorityList::toText() const {
    std::wstring text;
    for (const auto& [storeName, priority] : entries_) {
        text += storeName + L":" + priority + L";";
    }
    return text;
}

void PriorityList::set(const std::wstring& storeName, std::int32_t priority) {
    // An entry in another spelling goes: the next start makes the name of the copy's file from this one, and it has to
    // be the name under which the store itself has it written.
    entries_.erase(storeName);
    entries_[storeName] = QuillCoreUtils::toWideString(static_cast<int>(priority));
}

std::wstring PriorityList::textWithout(const std::wstring& text, const std::wstring& storeName) {
    // Lower-casing keeps the length, so a position in the copy is one in the text.
    const std::size_t begin = QuillCoreUtils::toLowercase(text).find(QuillCoreUtils::toLowercase(storeName));
    if (begin == std::wstring::npos) {
        return text;
    }
    const std::size_t end = text.find(L';', begin);
    std::wstring rest = text;
    rest.erase(begin, end == std::wstring::npos ? std::wstring::npos : end - begin + 1);
    return rest;
}
