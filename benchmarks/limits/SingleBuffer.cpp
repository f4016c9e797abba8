#include <cstdio>
#include <map>

#include "fakes/TemporaryDirectory.h"
#include "support/Documents.h"
#include "support/Harness.h"
#include "support/Subjects.h"

namespace bench {
namespace {

void append(std::string& text, const std::wstring& wide) {
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
            text += static_cast<char>(unit);  // all values here are ASCII
        }
    }
}

/// Writes a document by way of one text, over a sibling that is then renamed.
void save(const std::string& path, const std::map<std::wstring, std::wstring>& values) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Corvid>\n";
    for (const auto& [key, value] : values) {
        text += " <userConfig name=\"";
        append(text, key);
        text += "\" value=\"";
        append(text, value);
        text += "\"/>\n";
    }
    text += "</Corvid>\n";
    const std::string sibling = path + ".new";
    std::FILE* const file = std::fopen(sibling.c_str(), "wb");
    std::fwrite(text.data(), 1, text.size(), file);
    std::fclose(file);
    std::rename(sibling.c_str(), path.c_str());
}

}  // namespace

void addSingleBuffer(const Scale& scale) {
    const std::size_t count = scale.small;
    add(saveRow(count), "limit: single buffer", [count](benchmark::State& state) {
        const fakes::TemporaryDirectory directory;
        std::map<std::wstring, std::wstring> values;
        for (const auto& [key, value] : makeEntries(50, count)) {
            values.emplace(widen(key), widen(value));
        }
        for (auto _ : state) {
            save(directory.path("file.xml"), values);
        }
    })->Unit(benchmark::kMillisecond);
}

}  // namespace bench
