#pragma once

#include <filesystem>
#include <string>

namespace fakes {

/// A fresh folder of the test's own, removed with everything in it at the end.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();

    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    std::string path() const { return path_.string(); }

    /// Full path of an entry.
    std::string path(const std::string& name) const { return (path_ / name).string(); }

    /// Writes a file, with the folders above it, and gives its full path.
    std::string write(const std::string& name, const std::string& contents) const;

    /// The contents of a file; empty if there is none.
    std::string read(const std::string& name) const;

    bool exists(const std::string& name) const;

private:
    std::filesystem::path path_;
};

}  // namespace fakes
