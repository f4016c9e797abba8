#pragma once

#include <libxml/xmlerror.h>

namespace simulation {

/// Keeps the XML library from writing about broken documents, on this thread and on those started later.
class QuietXml {
public:
    QuietXml() { install(discard); }
    ~QuietXml() { install(nullptr); }

    QuietXml(const QuietXml&) = delete;
    QuietXml& operator=(const QuietXml&) = delete;

private:
    static void discard(void*, xmlError*) {}

    static void install(xmlStructuredErrorFunc handler) {
        xmlSetStructuredErrorFunc(nullptr, handler);
        xmlThrDefSetStructuredErrorFunc(nullptr, handler);
    }
};

}  // namespace simulation
