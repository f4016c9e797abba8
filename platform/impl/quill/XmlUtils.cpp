#include "quill/XmlUtils.h"

#include <libxml/parser.h>
#include <libxml/xmlversion.h>

#include <mutex>

namespace QuillCoreUtils {

void XmlUtils::xmlBufferFreer(xmlBuffer* buffer) { xmlBufferFree(buffer); }

void XmlUtils::initialiseLibrary() {
    static std::once_flag once;
    std::call_once(once, [] {
        LIBXML_TEST_VERSION
        xmlInitParser();
    });
}

}  // namespace QuillCoreUtils
