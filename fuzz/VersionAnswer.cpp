// Any bytes as a server's answer on its version: a text without blanks around it, and the same one again.

#include <cstddef>
#include <cstdint>
#include <string>

#include "Oracle.h"
#include "quill/StringUtils.h"
#include "xml/XmlConfigParser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::keepXmlQuiet();
    const std::string body(reinterpret_cast<const char*>(data), size);
    const std::string version = XmlConfigParser::parseUdsVersionFromXmlResponse(body);
    fuzz::demand(QuillCoreUtils::trim(version) == version, "blanks around the version");
    fuzz::demand(XmlConfigParser::parseUdsVersionFromXmlResponse(body) == version, "another version the second time");
    return 0;
}
