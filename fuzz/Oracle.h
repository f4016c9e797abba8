#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// What fuzz targets have in common.
namespace fuzz {

/// Ends the process, which the fuzzer takes for a find, unless the condition holds. @param wrong what it would mean.
void demand(bool condition, const char* wrong);

/// Keeps the XML library from writing about broken documents.
void keepXmlQuiet();

/// A folder for inputs that are files, removed at the end of the process; in memory where there is such a disk.
class Folder {
public:
    Folder();
    ~Folder();

    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::string& path() const { return path_; }

    /// @return the full path.
    std::string write(const std::string& name, const std::uint8_t* data, std::size_t size) const;

private:
    std::string path_;
};

}  // namespace fuzz
