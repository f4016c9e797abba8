#pragma once

#include <libxml/tree.h>

#include <string>

namespace QuillCoreUtils {

/// Helpers around libxml2.
class XmlUtils {
public:
    /// Deleter for a shared reference to an xmlBuffer; null is fine.
    static void xmlBufferFreer(xmlBuffer* buffer);

    /// Initialises libxml2 once for the process, and has it overwrite the memory that it gives back, unless the process
    /// has given it an allocator of its own. Must have run before several threads use the library; calling it
    /// again is cheap. Any thread.
    static void initialiseLibrary();
};

/// The reading of one document, on the thread that makes it and while it lives. A few bytes of a document make libxml2
/// say a line: whoever logs what it says asks here, and so the log stays short however long the document is.
class XmlReading {
public:
    /// @param document the name that stands before libxml2's messages; outlives this.
    explicit XmlReading(const std::string& document);

    /// Logs how many messages were not admitted, at level 3, unless all were.
    ~XmlReading();

    XmlReading(const XmlReading&) = delete;
    XmlReading& operator=(const XmlReading&) = delete;

    /// Whether a message that libxml2 has just given on this thread is to be logged: of the document that is being read
    /// the first 20 are, outside of any all. Counts it.
    static bool admitsMessage();

private:
    const std::string& document_;
    XmlReading* const outer_;  ///< the one that this thread was at before, and is again afterwards
    unsigned long messages_ = 0;
};

}  // namespace QuillCoreUtils
