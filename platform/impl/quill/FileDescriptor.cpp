#include "impl/quill/FileDescriptor.h"

#include <unistd.h>

namespace QuillCoreUtils {

// Not repeated when interrupted: on this system the descriptor is gone by then, and its number may be another file's.
FileDescriptor::~FileDescriptor() {
    if (isOpen()) {
        ::close(descriptor_);
    }
}

}  // namespace QuillCoreUtils
