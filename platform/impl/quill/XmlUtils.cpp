#include "quill/XmlUtils.h"

#include <libxml/parser.h>
#include <libxml/xmlmemory.h>
#include <libxml/xmlversion.h>

#include <cstdlib>
#include <mutex>

#include "impl/tessel/WipedMemory.h"

namespace QuillCoreUtils {
namespace {

// What documents hold may be secret. A process that has given the library an allocator of its own keeps that.
void wipeWhatTheLibraryFrees() {
    xmlFreeFunc release = nullptr;
    xmlMallocFunc allocate = nullptr;
    xmlReallocFunc move = nullptr;
    xmlStrdupFunc duplicate = nullptr;
    xmlMemGet(&release, &allocate, &move, &duplicate);
    if (release == &std::free) {
        xmlMemSetup(tessel::wipeAndFree, allocate, tessel::moveWiped, duplicate);
    }
}

}  // namespace

void XmlUtils::xmlBufferFreer(xmlBuffer* buffer) { xmlBufferFree(buffer); }

void XmlUtils::initialiseLibrary() {
    static std::once_flag once;
    std::call_once(once, [] {
        LIBXML_TEST_VERSION
        wipeWhatTheLibraryFrees();
        xmlInitParser();
    });
}

}  // namespace QuillCoreUtils
