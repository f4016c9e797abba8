#include "ProcessMemory.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <sstream>

#include "impl/quill/FileDescriptor.h"

namespace {

/// A part of a process's memory.
struct Part {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::string name;
};

std::string fileOf(pid_t process, const char* name) { return "/proc/" + std::to_string(process) + "/" + name; }

/// What can be read, files of libraries included: their variables are there too.
std::vector<Part> partsOf(pid_t process) {
    std::ifstream file(fileOf(process, "maps"));
    std::vector<Part> parts;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        Part part;
        char dash = 0;
        std::string rights, offset, device, number;
        words >> std::hex >> part.begin >> dash >> part.end >> rights >> offset >> device >> number >> part.name;
        if (rights.starts_with("r") && part.name != "[vvar]" && part.name != "[vsyscall]") {
            parts.push_back(part);
        }
    }
    return parts;
}

std::string bytesOf(int memory, const Part& part) {
    std::string bytes(part.end - part.begin, '\0');
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t length =
            pread(memory, bytes.data() + done, bytes.size() - done, static_cast<off_t>(part.begin + done));
        if (length <= 0) {
            break;
        }
        done += static_cast<std::size_t>(length);
    }
    bytes.resize(done);
    return bytes;
}

std::string widened(const std::string& text) {
    std::string wide;
    for (const char byte : text) {
        wide += byte;
        wide.append(sizeof(wchar_t) - 1, '\0');
    }
    return wide;
}

void find(const std::string& bytes, const Part& part, const std::string& text, const char* form,
          std::vector<std::string>& places) {
    for (std::size_t at = bytes.find(text); at != std::string::npos; at = bytes.find(text, at + 1)) {
        std::ostringstream place;
        place << (part.name.empty() ? "unnamed" : part.name) << "+" << std::hex << at << " " << form;
        places.push_back(place.str());
    }
}

}  // namespace

bool ProcessMemory::isOpen() const {
    const QuillCoreUtils::FileDescriptor memory(open(fileOf(process_, "mem").c_str(), O_RDONLY | O_CLOEXEC));
    return memory.isOpen() && !partsOf(process_).empty();
}

std::vector<std::string> ProcessMemory::placesOf(const std::string& text) const {
    const QuillCoreUtils::FileDescriptor memory(open(fileOf(process_, "mem").c_str(), O_RDONLY | O_CLOEXEC));
    std::vector<std::string> places;
    for (const Part& part : partsOf(process_)) {
        const std::string bytes = bytesOf(memory.get(), part);
        find(bytes, part, text, "narrow", places);
        find(bytes, part, widened(text), "wide", places);
    }
    return places;
}
