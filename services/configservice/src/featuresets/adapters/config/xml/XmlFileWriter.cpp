#include "xml/XmlFileWriter.h"

#include <fcntl.h>
#include <libxml/uri.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <utility>

#include "LockRanks.h"
#include "quill/FileUtils.h"
#include "quill/XmlUtils.h"

namespace {

const xmlChar* xmlText(const std::string& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

// libxml2 creates a file with the permissions of the process, and keeps those of a file that is there. What stands in
// its place goes first: a link, symbolic or hard, may lead to a file of somebody else's.
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

bool createPrivateFile(const std::string& path) {
    const int file = makePrivateFile(path);
    return file >= 0 && ::close(file) == 0;
}

int writeAll(void* context, const char* bytes, int length) {
    const int file = *static_cast<const int*>(context);
    int done = 0;
    while (done < length) {
        const ssize_t written = ::write(file, bytes + done, static_cast<std::size_t>(length - done));
        if (written < 0 && errno != EINTR) {
            return -1;
        }
        done += written > 0 ? static_cast<int>(written) : 0;
    }
    return length;
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

bool endsWithRoot(const std::string& path, const std::string& rootName) {
    const std::string closed = "</" + rootName + ">\n";
    const std::string empty = "<" + rootName + "/>\n";
    std::ifstream file(path, std::ios::binary);
    std::string tail(closed.size(), '\0');
    file.seekg(-static_cast<std::streamoff>(tail.size()), std::ios::end);
    file.read(tail.data(), static_cast<std::streamsize>(tail.size()));
    return file && (tail == closed || tail.ends_with(empty));
}

}  // namespace

tessel::Mutex& XmlFileWriter::siblingMutex() {
    static tessel::Mutex mutex(LockRanks::TEMPORARY_FILES);
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

XmlFileWriter::XmlFileWriter(const std::string& path) : path_(path) {
    QuillCoreUtils::XmlUtils::initialiseLibrary();
    file_ = makePrivateFile(path);
    if (file_ < 0) {
        return;
    }
    // A writer that is given the path writes through a buffer of the C library's, which nobody overwrites.
    xmlOutputBuffer* const output = xmlOutputBufferCreateIO(writeAll, nullptr, &file_, nullptr);
    writer_ = xmlNewTextWriter(output);
    if (writer_ == nullptr) {
        xmlOutputBufferClose(output);
    }
    xmlTextWriterSetIndent(writer_, 1);
    if (isOpen()) {
        note(xmlTextWriterStartDocument(writer_, nullptr, "utf-8", nullptr));
    }
}

XmlFileWriter::~XmlFileWriter() { close(); }

void XmlFileWriter::close() {
    xmlFreeTextWriter(writer_);
    writer_ = nullptr;
    if (file_ >= 0 && ::close(std::exchange(file_, -1)) != 0) {
        whole_ = false;
    }
}

void XmlFileWriter::note(int result) { whole_ = whole_ && result >= 0; }

void XmlFileWriter::startElement(const std::string& name) {
    if (rootName_.empty()) {
        rootName_ = name;
    }
    note(xmlTextWriterStartElement(writer_, xmlText(name)));
}

void XmlFileWriter::writeAttribute(const std::string& name, const std::string& value) {
    note(xmlTextWriterWriteAttribute(writer_, xmlText(name), xmlText(value)));
}

void XmlFileWriter::endElement() { note(xmlTextWriterEndElement(writer_)); }

void XmlFileWriter::writeElement(const std::string& name, const std::string& text) {
    if (!name.empty()) {
        note(xmlTextWriterWriteElement(writer_, xmlText(name), xmlText(text)));
    }
}

bool XmlFileWriter::finish() {
    note(xmlTextWriterEndDocument(writer_));
    close();
    // The last bytes leave libxml2's buffer when the writer is freed, and it keeps a failure there to itself.
    return whole_ && endsWithRoot(path_, rootName_);
}
