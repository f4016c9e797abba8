#pragma once

namespace support {

/// Lets this process sync no folder, as if the disk failed (EIO): a file that is put in place is there and need not
/// outlast a power cut.
///
/// Stands in for the C library's fsync().
class NoFolderSyncs {
public:
    NoFolderSyncs();
    ~NoFolderSyncs();

    NoFolderSyncs(const NoFolderSyncs&) = delete;
    NoFolderSyncs& operator=(const NoFolderSyncs&) = delete;
};

}  // namespace support
