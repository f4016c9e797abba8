// Any bytes as the file that says which store waits for which: names are never empty, a second reading adds nothing,
// and what was read is read again from a file that says the same.

#include <cstddef>
#include <cstdint>
#include <string>

#include "Oracle.h"
#include "xml/XmlConfigParser.h"

namespace {

ChainedStoreMap read(const std::string& path) {
    ChainedStoreMap stores;
    fuzz::demand(!XmlConfigParser::readChainedConfigFile(path, stores), "a result that says something");
    return stores;
}

std::string quoted(const std::string& text) {
    std::string escaped = "\"";
    for (const char character : text) {
        switch (character) {
        case '&':
        case '<':
        case '"':
        case '\t':
        case '\n':
        case '\r':
            escaped.append("&#").append(std::to_string(static_cast<int>(character))).append(";");
            break;
        default:
            escaped += character;
        }
    }
    return escaped + "\"";
}

std::string written(const ChainedStoreMap& stores) {
    std::string text = "<Chain>";
    for (const auto& [name, others] : stores) {
        for (const std::string& other : others) {
            text.append("<ConfigStore name=").append(quoted(name)).append(" chainedTo=").append(quoted(other));
            text.append("/>");
        }
    }
    return text.append("</Chain>");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::keepXmlQuiet();
    static const fuzz::Folder folder;
    const std::string file = folder.write("chain.xml", data, size);
    ChainedStoreMap stores = read(file);
    for (const auto& [name, others] : stores) {
        fuzz::demand(!name.empty() && !others.empty() && others.count("") == 0, "a store without a name");
    }
    const ChainedStoreMap once = stores;
    XmlConfigParser::readChainedConfigFile(file, stores);
    fuzz::demand(stores == once, "more at the second reading");
    if (once.empty()) {
        return 0;
    }
    const std::string text = written(once);
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    fuzz::demand(read(folder.write("written.xml", bytes, text.size())) == once, "other stores after writing them");
    return 0;
}
