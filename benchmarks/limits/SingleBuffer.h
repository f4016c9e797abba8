#pragma once

#include <cstdio>
#include <map>
#include <string>

namespace bench {

inline void appendEscaped(std::string& text, const std::wstring& wide) {
    for (const wchar_t unit : wide) {
        switch (unit) {
        case L'&':
            text += "&amp;";
            break;
        case L'<':
            text += "&lt;";
            break;
        case L'"':
            text += "&quot;";
            break;
        default:
            text += static_cast<char>(unit);
        }
    }
}

/// The limit of a save: a document by way of one text, over a sibling that is then renamed. Values in ASCII.
inline void saveByHand(const std::string& path, const std::map<std::wstring, std::wstring>& values) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Corvid>\n";
    for (const auto& [key, value] : values) {
        text += " <userConfig name=\"";
        appendEscaped(text, key);
        text += "\" value=\"";
        appendEscaped(text, value);
        text += "\"/>\n";
    }
    text += "</Corvid>\n";
    const std::string sibling = path + ".new";
    std::FILE* const file = std::fopen(sibling.c_str(), "wb");
    std::fwrite(text.data(), 1, text.size(), file);
    std::fclose(file);
    std::rename(sibling.c_str(), path.c_str());
}

}  // namespace bench
