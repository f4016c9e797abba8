#pragma once

#include <libxml/tree.h>

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

}  // namespace QuillCoreUtils
