#include "quill/XmlUtils.h"

#include <libxml/parser.h>
#include <libxml/xmlmemory.h>
#include <libxml/xmlversion.h>

#include <cstdlib>
#include <mutex>
#include <utility>

#include "impl/tessel/WipedMemory.h"
#include "tessel/TesselLogger.h"

namespace QuillCoreUtils {
namespace {

constexpr unsigned long mostMessages = 20;

thread_local XmlReading* currentReading = nullptr;

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

XmlReading::XmlReading(const std::string& document)
    : document_(document), outer_(std::exchange(currentReading, this)) {}

XmlReading::~XmlReading() {
    currentReading = outer_;
    if (messages_ > mostMessages) {
        TesselLog(TesselLogger_getLogger("libxml2"), 3, __FILE__, __LINE__, "report",
                  document_ + ": further messages: " + std::to_string(messages_ - mostMessages));
    }
}

bool XmlReading::admitsMessage() { return currentReading == nullptr || ++currentReading->messages_ <= mostMessages; }

}  // namespace QuillCoreUtils
