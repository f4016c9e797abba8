#pragma once

#include <libxml/xmlwriter.h>

#include <memory>
#include <string>

#include "tessel/Mutex.h"

/// Writes one indented document with the encoding "utf-8" to a file of its own, readable by the user alone (0600).
/// One thread.
///
/// Meant for a sibling of the real file, which is put in its place when finish() has said that it is whole.
class XmlFileWriter {
public:
    /// The process's own half of a SiblingLock.
    static tessel::Mutex& siblingMutex();

    /// Writes a whole document to a file. @return true if every byte has reached the file system.
    static bool saveDocument(const std::string& path, xmlDoc& document);

    /// Makes the file anew, in the place of whatever stood there but a folder, and starts the document.
    explicit XmlFileWriter(const std::string& path);
    ~XmlFileWriter();

    XmlFileWriter(const XmlFileWriter&) = delete;
    XmlFileWriter& operator=(const XmlFileWriter&) = delete;

    /// False if the file could not be opened: nothing is written then.
    bool isOpen() const { return writer_ != nullptr; }

    /// Names and texts are UTF-8; names are written as they are, texts are escaped.
    void startElement(const std::string& name);
    void writeAttribute(const std::string& name, const std::string& value);
    void endElement();

    /// An element with a text. One without a name cannot be written and is left out.
    void writeElement(const std::string& name, const std::string& text);

    /// Ends the document and closes the file.
    /// @return true if every byte has reached the file system; false on a full disk, say.
    bool finish();

private:
    void note(int result);
    void close();

    const std::string path_;
    std::string rootName_;
    int file_ = -1;
    xmlTextWriter* writer_ = nullptr;  ///< writes to the file
    bool whole_ = true;
};
