#pragma once

#include <libxml/tree.h>

#include <string>
#include <string_view>

#include "tessel/Mutex.h"
#include "xml/XmlComposer.h"

/// Writes one indented document to a file of its own, readable by the user alone (0600). One thread.
///
/// Meant for a sibling of the real file, which is put in its place when finish() has said that it is whole. What waits
/// in memory to be written is wiped: it may hold secrets.
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
    bool isOpen() const { return file_ >= 0; }

    /// Names are UTF-8 and written as they are.
    void startElement(std::string_view name) { composer_.startElement(name); }
    void endElement() { composer_.endElement(); }

    /// An element with a text; one without a name cannot be written and is left out.
    /// @return false if characters were replaced that XML cannot hold.
    bool writeElement(std::string_view name, std::wstring_view text);

    /// Puts a document that was composed elsewhere in place of the own one, of which nothing must be written yet.
    void takeDocument(std::string text) { composer_.text() = std::move(text); }

    /// Closes the file. @return true if every byte has reached the file system; false on a full disk, say.
    bool finish();

private:
    void flush();
    void close();

    int file_ = -1;
    XmlComposer composer_;
    bool isWhole_ = true;
};
