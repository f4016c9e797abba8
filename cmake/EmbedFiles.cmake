# Writes a C++ source that holds some files under their names: cmake -DFILES=...;... -DOUTPUT=... -P EmbedFiles.cmake
# The list is the caller's, so that a build notices when one of them goes, or an older one comes.
set(arrays "")
set(entries "")
set(count 0)
foreach(path IN LISTS FILES)
  get_filename_component(name "${path}" NAME)
  file(READ "${path}" hex HEX)
  string(LENGTH "${hex}" digits)
  math(EXPR size "${digits} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  # An array cannot be empty: a zero behind the contents is not counted.
  string(APPEND arrays "constexpr unsigned char FILE_${count}[] = {${bytes}0};\n")
  string(APPEND entries "    PageFile{\"${name}\", contentsOf(FILE_${count}, ${size})},\n")
  math(EXPR count "${count} + 1")
endforeach()
file(WRITE ${OUTPUT} "#include \"web/PageFiles.h\"

#include <cstddef>

namespace corvidctl {

namespace {

${arrays}
std::string_view contentsOf(const unsigned char* bytes, std::size_t size) {
    return {reinterpret_cast<const char*>(bytes), size};
}

const PageFile FILES[] = {
${entries}};

}  // namespace

std::span<const PageFile> pageFiles() { return FILES; }

}  // namespace corvidctl
")
