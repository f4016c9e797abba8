#include "output/Wrapping.h"

#include <sstream>

#include "output/Text.h"

namespace corvidctl {

std::vector<std::string> wrapped(std::string_view text, std::size_t columns) {
    std::vector<std::string> lines;
    std::size_t width = 0;
    std::istringstream words{std::string(text)};
    for (std::string word; std::getline(words, word, ' ');) {
        const std::size_t wordWidth = displayWidth(word);
        if (!lines.empty() && width + 1 + wordWidth <= columns) {
            lines.back() += " " + word;
            width += 1 + wordWidth;
        } else {
            lines.push_back(word);
            width = wordWidth;
        }
    }
    return lines;
}

std::string indented(std::string_view text, std::size_t indent, std::size_t columns) {
    std::string result;
    for (const std::string& line : wrapped(text, columns > indent ? columns - indent : 1)) {
        result += std::string(indent, ' ') + line + '\n';
    }
    return result;
}

}  // namespace corvidctl
