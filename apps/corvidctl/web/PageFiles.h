#pragma once

#include <span>
#include <string_view>

namespace corvidctl {

/// A file of the inspector's page, which is part of the program.
struct PageFile {
    std::string_view name;  ///< as it is asked for, without the slash: "index.html"
    std::string_view contents;
};

/// All of them. Made from the folder page/ when the program is built.
std::span<const PageFile> pageFiles();

/// The file at a path of the server: "/" is index.html. Paths are compared letter by letter, so that none leads
/// anywhere else. @return null if there is none.
const PageFile* pageFileAt(std::string_view path);

/// The media type of a file, for the header Content-Type.
std::string_view mediaTypeOf(std::string_view name);

}  // namespace corvidctl
