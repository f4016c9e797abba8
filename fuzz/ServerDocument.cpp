// Any bytes as a server's file: keys come out folded, once each and never empty, and a second reading of the same bytes
// comes to the same values.

#include <cstddef>
#include <cstdint>
#include <string>

#include "Oracle.h"
#include "chain/ConfigMap.h"
#include "quill/StringUtils.h"
#include "xml/XmlConfigParser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::keepXmlQuiet();
    ConfigMap values;
    SensitiveKeySet sensitiveKeys;
    const std::string document(reinterpret_cast<const char*>(data), size);
    if (!XmlConfigParser::readFromMemory(document, values, sensitiveKeys)) {
        fuzz::demand(values.empty(), "values of a document that was refused");
        return 0;
    }
    for (const auto& [key, value] : values) {
        fuzz::demand(!key.empty(), "an empty key");
        fuzz::demand(QuillCoreUtils::toLowercase(key) == key, "a key that is not folded");
    }
    ConfigMap again;
    fuzz::demand(XmlConfigParser::readFromMemory(document, again, sensitiveKeys) && again == values,
                 "other values at the second reading");
    return 0;
}
