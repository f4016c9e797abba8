#include "ModelTypes.h"

#include <locale.h>
#include <wctype.h>

#include <sstream>

namespace simulation {

namespace {

template <typename Unit>
Unit foldedAscii(Unit unit) {
    return unit >= 'A' && unit <= 'Z' ? static_cast<Unit>(unit - 'A' + 'a') : unit;
}

/// By the tables of the C library, but for the capital "i" with a dot and the small one without, which stand alone.
wchar_t foldedBeyondAscii(wchar_t unit) {
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const bool stays = unicode == nullptr || unit == L'\u0130' || unit == L'\u0131';
    return stays ? unit : static_cast<wchar_t>(towlower_l(towupper_l(static_cast<wint_t>(unit), unicode), unicode));
}

const char* nameOf(Property property) {
    static constexpr std::array<const char*, propertyCount> names = {
        "Value", "OriginalValue", "isOverridden", "isDefined", "ValueStoreName", "OriginalValueStoreName"};
    return names.at(static_cast<std::size_t>(property));
}

}  // namespace

std::wstring folded(const std::wstring& text) {
    std::wstring key = text;
    for (wchar_t& unit : key) {
        unit = unit < 0x80 ? foldedAscii(unit) : foldedBeyondAscii(unit);
    }
    return key;
}

std::string folded(const std::string& text) {
    std::string name = text;
    for (char& unit : name) {
        unit = foldedAscii(unit);
    }
    return name;
}

std::string printable(const std::wstring& text) {
    std::ostringstream out;
    for (const wchar_t unit : text) {
        if (unit >= L' ' && unit <= L'~') {
            out << static_cast<char>(unit);
        } else {
            out << "\\x" << std::hex << static_cast<unsigned long>(unit) << std::dec;
        }
    }
    return out.str();
}

std::string bracketed(const std::wstring& text) { return "[" + printable(text) + "]"; }

void ModelStore::put(const std::wstring& key, const std::wstring& text) {
    const auto [entry, isNew] = entries.try_emplace(folded(key), ModelEntry{key, text});
    if (!isNew) {
        entry->second.text = text;
    }
}

std::vector<std::wstring> ModelStore::keys() const {
    std::vector<std::wstring> keys;
    for (const auto& [key, entry] : entries) {
        keys.push_back(entry.spelling);
    }
    return keys;
}

std::string describe(const ModelStore& store) {
    std::string line = store.name + " at " + std::to_string(store.priority);
    line += store.readOnly ? ", read-only" : ", writable";
    line += store.local ? ", local" : "";
    line += store.cached ? ", cached" : "";
    line += store.refusesWrites ? ", refusing" : "";
    for (const auto& [key, entry] : store.entries) {
        line += ", " + printable(entry.spelling) + " = " + bracketed(entry.text);
    }
    return line;
}

std::string describe(const ChainCall& call) {
    const Report& report = call.report;
    switch (call.kind) {
    case ChainCall::Kind::Fire:
        return "fire " + printable(report.key);
    case ChainCall::Kind::Sensitive:
        return "sensitive " + printable(report.key);
    case ChainCall::Kind::Changed:
        break;
    }
    const ValueState state{report.key,       report.value,          report.originalValue,         report.isOverridden,
                           report.isDefined, report.valueStoreName, report.originalValueStoreName};
    return (report.silent ? "silent report " : "report ") + describe(state);
}

std::string describe(const ValueState& state) {
    return printable(state.key) + " = [" + printable(state.value) + "] of [" + printable(state.valueStoreName) +
           "], original [" + printable(state.originalValue) + "] of [" + printable(state.originalValueStoreName) + "]" +
           (state.isOverridden ? ", overridden" : "") + (state.isDefined ? ", defined" : ", undefined");
}

std::string describe(const Heard& heard) {
    return "watcher " + std::to_string(heard.watcher) + " heard of " + nameOf(heard.property) + ": " +
           describe(heard.state);
}

}  // namespace simulation
