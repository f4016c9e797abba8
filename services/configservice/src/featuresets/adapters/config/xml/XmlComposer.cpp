#include "xml/XmlComposer.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "xml/XmlCharacters.h"

namespace {

/// How an ASCII unit is put: null for one that stands for itself.
using Escape = const char* (*)(wchar_t unit);

const char* escapeInText(wchar_t unit) {
    switch (unit) {
    case L'<':
        return "&lt;";
    case L'>':
        return "&gt;";
    case L'&':
        return "&amp;";
    case L'"':
        return "&quot;";
    case L'\r':
        return "&#13;";
    default:
        return nullptr;
    }
}

const char* escapeInAttribute(wchar_t unit) {
    switch (unit) {
    case L'\n':
        return "&#10;";
    case L'\t':
        return "&#9;";
    default:
        return escapeInText(unit);
    }
}

/// For each ASCII unit whether it is put as it is: one look tells it, where comparisons would take ten steps a letter.
constexpr std::array<bool, 0x80> PLAIN = [] {
    std::array<bool, 0x80> plain{};
    for (std::size_t unit = ' '; unit < 0x7F; ++unit) {
        plain[unit] = unit != '<' && unit != '>' && unit != '&' && unit != '"';
    }
    return plain;
}();

bool standsForItself(wchar_t unit) {
    const auto place = static_cast<std::uint32_t>(unit);
    return place < PLAIN.size() && PLAIN[place];
}

/// Appends a value. @return false if characters were replaced.
bool append(std::string& text, std::wstring_view value, Escape escape) {
    bool isWhole = true;
    while (!value.empty()) {
        // Values are plain ASCII nearly always, and go over in one piece.
        const auto end = std::find_if_not(value.begin(), value.end(), standsForItself);
        const auto length = static_cast<std::size_t>(end - value.begin());
        const std::size_t at = text.size();
        text.resize(at + length);
        std::transform(value.begin(), end, text.begin() + static_cast<std::ptrdiff_t>(at),
                       [](wchar_t unit) { return static_cast<char>(unit); });
        value.remove_prefix(length);
        if (value.empty()) {
            break;
        }
        if (const char* const escaped = escape(value.front())) {
            text += escaped;
        } else {
            const XmlText other = toXmlText(value.substr(0, 1));
            text += other.text;
            isWhole = isWhole && !other.replaced;
        }
        value.remove_prefix(1);
    }
    return isWhole;
}

}  // namespace

XmlComposer::XmlComposer() : text_("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n") {}

void XmlComposer::startElement(std::string_view name) {
    if (isInStartTag_) {
        closeStartTag();
        text_ += '\n';
    }
    indent();
    text_ += '<';
    text_ += name;
    open_.emplace_back(name);
    isInStartTag_ = true;
}

bool XmlComposer::writeAttribute(std::string_view name, std::wstring_view value) {
    text_ += ' ';
    text_ += name;
    text_ += "=\"";
    const bool isWhole = append(text_, value, escapeInAttribute);
    text_ += '"';
    return isWhole;
}

void XmlComposer::endElement() {
    const std::string name = std::move(open_.back());
    open_.pop_back();
    if (isInStartTag_) {
        text_ += "/>\n";
        isInStartTag_ = false;
        return;
    }
    indent();
    text_ += "</";
    text_ += name;
    text_ += ">\n";
}

bool XmlComposer::writeElement(std::string_view name, std::wstring_view text) {
    startElement(name);
    closeStartTag();
    open_.pop_back();
    const bool isWhole = append(text_, text, escapeInText);
    text_ += "</";
    text_ += name;
    text_ += ">\n";
    return isWhole;
}

void XmlComposer::closeStartTag() {
    text_ += '>';
    isInStartTag_ = false;
}

void XmlComposer::indent() { text_.append(open_.size(), ' '); }
