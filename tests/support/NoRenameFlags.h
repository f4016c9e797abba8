#pragma once

namespace support {

/// A file system that cannot rename with a condition: renameat2() gives the error, EINVAL say.
///
/// Stands in for the C library's renameat2().
class NoRenameFlags {
public:
    explicit NoRenameFlags(int error);
    ~NoRenameFlags();

    NoRenameFlags(const NoRenameFlags&) = delete;
    NoRenameFlags& operator=(const NoRenameFlags&) = delete;
};

}  // namespace support
