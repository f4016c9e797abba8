#include "xml/XmlFileWriter.h"

#include <fcntl.h>
#include <libxml/uri.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "LockRanks.h"
#include "quill/FileUtils.h"
#include "quill/XmlUtils.h"

namespace {

const xmlChar* xmlText(const std::string& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

// libxml2 creates a file with the permissions of the process, and keeps those of a file that is there.
bool createPrivateFile(const std::string& path) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0) {
        return false;
    }
    const bool isPrivate = ::fchmod(file, S_IRUSR | S_IWUSR) == 0;
    ::close(file);
    return isPrivate;
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
    if (!createPrivateFile(path)) {
        return;
    }
    writer_ = xmlNewTextWriterFilename(asUri(path).c_str(), 0);
    xmlTextWriterSetIndent(writer_, 1);
    if (isOpen()) {
        note(xmlTextWriterStartDocument(writer_, nullptr, "utf-8", nullptr));
    }
}

XmlFileWriter::~XmlFileWriter() { xmlFreeTextWriter(writer_); }

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
    xmlFreeTextWriter(writer_);
    writer_ = nullptr;
    // The last bytes leave the C library's buffer when the file is closed, and libxml2 keeps a failure there to itself.
    return whole_ && endsWithRoot(path_, rootName_);
}
