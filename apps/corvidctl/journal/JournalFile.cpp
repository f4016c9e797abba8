#include "journal/JournalFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "impl/quill/FileReplacement.h"
#include "journal/JournalText.h"

namespace corvidctl {

namespace {

namespace fs = std::filesystem;

/// False if the file has got another name, or has gone, since it was opened.
bool isStillCalled(int descriptor, const std::string& path) {
    struct stat opened {};
    struct stat named {};
    return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
           opened.st_ino == named.st_ino;
}

}  // namespace

bool JournalFile::isJournal(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) {
        return true;
    }
    if (status.type() != fs::file_type::regular) {
        return false;
    }
    std::string beginning(journaltext::BEGINNING.size(), '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(beginning.data(), static_cast<std::streamsize>(beginning.size()));
    beginning.resize(static_cast<std::size_t>(file.gcount()));
    return journaltext::BEGINNING.substr(0, beginning.size()) == beginning;  // it may have been torn at once
}

JournalFile::JournalFile(std::string path, std::size_t limit) : path_(std::move(path)), limit_(limit) {
    try {
        // A watch that fills the file meanwhile gives it another name.
        do {
            close();
            open(0);
            lock();
        } while (!isStillCalled(descriptor_, path_));
        endTornLine();
        if (size_ >= limit_) {
            beginNewFile();
        }
    } catch (...) {
        close();
        throw;
    }
}

JournalFile::~JournalFile() { close(); }

void JournalFile::append(const JournalBatch& batch, const std::function<JournalBatch()>& start) {
    const bool isFirst = size_ == 0;
    write(journaltext::line(batch));
    startSize_ = isFirst ? size_ : startSize_;
    // A file that holds little besides its beginning is worth more than the limit.
    if (size_ >= std::max(limit_, 2 * startSize_)) {
        beginNewFile();
        write(journaltext::line(start()));
        startSize_ = size_;
    }
}

void JournalFile::open(int flags) {
    if (const int error = QuillCoreUtils::openForAppending(path_, O_RDWR | flags, descriptor_)) {
        errno = error;
        fail("could not be opened");
    }
    struct stat status {};
    if (fstat(descriptor_, &status) == 0) {
        size_ = static_cast<std::size_t>(status.st_size);
    }
}

void JournalFile::lock() {
    if (flock(descriptor_, LOCK_EX | LOCK_NB) == 0) {
        return;
    }
    if (errno == EWOULDBLOCK) {
        throw std::runtime_error("the journal " + path_ +
                                 " is being written by another watch; end that one, or name another file");
    }
    fail("could not be locked");
}

void JournalFile::close() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
        descriptor_ = -1;
    }
}

void JournalFile::endTornLine() {
    char last = '\n';
    if (size_ > 0 && pread(descriptor_, &last, 1, static_cast<off_t>(size_ - 1)) == 1 && last != '\n') {
        write("\n");
    }
}

void JournalFile::write(const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t size = ::write(descriptor_, text.data() + done, text.size() - done);
        if (size < 0 && errno != EINTR) {
            fail("could not be written");
        }
        done += size > 0 ? static_cast<std::size_t>(size) : 0;
    }
    size_ += text.size();
}

void JournalFile::beginNewFile() {
    if (std::rename(path_.c_str(), oldName(path_).c_str()) != 0) {
        fail("is full and could not be renamed to " + oldName(path_));
    }
    close();
    open(O_EXCL);
    lock();
    size_ = 0;
}

void JournalFile::fail(const std::string& what) const {
    const std::string reason = std::strerror(errno);
    throw std::runtime_error("the journal " + path_ + " " + what + ": " + reason);
}

}  // namespace corvidctl
