#pragma once

#include <cerrno>

namespace support {

/// Lets this process sync no folder, as if the disk failed (EIO): a file that is put in place is there and need not
/// outlast a power cut. Or as on a file system that cannot sync folders (EINVAL).
///
/// Stands in for the C library's fsync().
class NoFolderSyncs {
public:
    explicit NoFolderSyncs(int error = EIO);
    ~NoFolderSyncs();

    NoFolderSyncs(const NoFolderSyncs&) = delete;
    NoFolderSyncs& operator=(const NoFolderSyncs&) = delete;
};

}  // namespace support
