#include "output/MachineText.h"

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace corvidctl {

namespace {

/// The characters that JSON allows in a text although they act on a terminal: DEL and U+0080 to U+009F.
std::string withoutControls(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
        const bool isHighControl = byte == 0xC2 && next >= 0x80 && next < 0xA0;
        if (isHighControl || byte == 0x7F) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(isHighControl ? next : byte));
            result += escape.data();
            i += isHighControl ? 1 : 0;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string dumped(const Json& json, int indentation) {
    return withoutControls(json.dump(indentation, ' ', false, Json::error_handler_t::replace));
}

std::string onOneLine(const Json& json) { return dumped(json, -1) + "\n"; }

/// A cell of a tab-separated line.
std::string cell(const Json& json) {
    if (json.is_null()) {
        return {};
    }
    const std::string text = dumped(json, -1);
    if (!json.is_string()) {
        return text;
    }
    // As JSON escapes it, less the quotation marks around it and the escapes of those inside.
    std::string result;
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
        const bool isEscape = text[i] == '\\';
        if (!isEscape || text[i + 1] != '"') {
            result += text[i];
        }
        if (isEscape) {
            result += text[++i];
        }
    }
    return result;
}

std::string tabbedHeadings(const Json& sample) {
    std::string line;
    for (const auto& [name, ignored] : sample.items()) {
        line += (line.empty() ? "" : "\t") + name;
    }
    return line + "\n";
}

std::string tabbed(const Json& object) {
    std::string line;
    bool first = true;
    for (const Json& member : object) {
        line += (first ? "" : "\t") + cell(member);
        first = false;
    }
    return line + "\n";
}

}  // namespace

std::string printed(const Json& json, Format format) {
    switch (format) {
    case Format::JsonLines:
        return onOneLine(json);
    case Format::Tsv:
        return tabbedHeadings(json) + tabbed(json);
    case Format::Json:
    case Format::Table:
        break;
    }
    return dumped(json, 2) + "\n";
}

std::string printedList(const Json& array, const Json& sample, Format format) {
    if (format == Format::Json || format == Format::Table) {
        return printed(array, format);
    }
    std::string lines = format == Format::Tsv ? tabbedHeadings(sample) : std::string();
    for (const Json& element : array) {
        lines += format == Format::Tsv ? tabbed(element) : onOneLine(element);
    }
    return lines;
}

std::string streamed(const Json& json, Format format) { return format == Format::Tsv ? tabbed(json) : onOneLine(json); }

std::string streamHeadings(const Json& sample, Format format) {
    return format == Format::Tsv ? tabbedHeadings(sample) : std::string();
}

Json textOrNull(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

}  // namespace corvidctl
