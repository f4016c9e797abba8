#include "xml/XmlFileWriter.h"

#include <fcntl.h>
#include <libxml/uri.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "LockRanks.h"
#include "quill/FileUtils.h"
#include "quill/XmlUtils.h"
#include "tessel/SecureStringUtils.h"

namespace {

const xmlChar* xmlText(const std::string& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

// Bytes that wait to be written, at most; a longer element waits alone.
constexpr std::size_t ROOM = 65536;

// The most that becomes of one unit, "&quot;" say.
constexpr std::size_t LONGEST_UNIT = 6;

/// Makes a file for the user alone. What stands in its place goes first: a link, symbolic or hard, may lead to a file
/// of somebody else's. @return -1 if that cannot be.
int makePrivateFile(const std::string& path) {
    ::unlink(path.c_str());
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    // Under some umasks the owner could not open it again.
    if (file >= 0 && ::fchmod(file, S_IRUSR | S_IWUSR) != 0) {
        ::close(file);
        return -1;
    }
    return file;
}

// libxml2 creates a file with the permissions of the process, and keeps those of a file that is there.
bool createPrivateFile(const std::string& path) {
    const int file = makePrivateFile(path);
    return file >= 0 && ::close(file) == 0;
}

// libxml2 takes the path for a URI and would turn "%41" in it into "A".
std::string asUri(const std::string& path) {
    if (path.find('%') == std::string::npos) {
        return path;
    }
    const std::shared_ptr<xmlChar> escaped(xmlURIEscapeStr(xmlText(path), BAD_CAST "/"),
                                           [](xmlChar* owned) { xmlFree(owned); });
    return escaped != nullptr ? reinterpret_cast<const char*>(escaped.get()) : path;
}

/// Writes all of a text. @return false if not every byte was taken.
bool writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t length = ::write(file, text.data(), text.size());
        if (length < 0 && errno == EINTR) {
            continue;
        }
        if (length <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(length));
    }
    return true;
}

}  // namespace

tessel::Mutex& XmlFileWriter::siblingMutex() {
    static tessel::Mutex mutex{LockRanks::TEMPORARY_FILES};
    return mutex;
}

bool XmlFileWriter::saveDocument(const std::string& path, xmlDoc& document) {
    QuillCoreUtils::XmlUtils::initialiseLibrary();
    if (createPrivateFile(path) && xmlSaveFile(asUri(path).c_str(), &document) != -1) {
        return true;
    }
    QuillCoreUtils::FileUtils::removeFile(path);
    return false;
}

XmlFileWriter::XmlFileWriter(const std::string& path) : file_(makePrivateFile(path)) { composer_.text().reserve(ROOM); }

XmlFileWriter::~XmlFileWriter() {
    tessel::SecureStringUtils::TesselZeroString(composer_.text());
    close();
}

bool XmlFileWriter::writeElement(std::string_view name, std::wstring_view text) {
    if (name.empty()) {
        return true;
    }
    // A text that grows would leave copies of a secret behind, so what stands there is written before there is no room.
    const std::size_t longest = LONGEST_UNIT * text.size() + 2 * name.size() + ROOM / 16;
    if (composer_.text().size() + longest > composer_.text().capacity()) {
        flush();
        composer_.text().reserve(longest);
    }
    return composer_.writeElement(name, text);
}

bool XmlFileWriter::finish() {
    flush();
    close();
    return isWhole_;
}

void XmlFileWriter::flush() {
    isWhole_ = isWhole_ && writeAll(file_, composer_.text());
    tessel::SecureStringUtils::TesselZeroString(composer_.text());
    composer_.text().clear();
}

void XmlFileWriter::close() {
    if (file_ >= 0) {
        isWhole_ = ::close(file_) == 0 && isWhole_;
        file_ = -1;
    }
}
