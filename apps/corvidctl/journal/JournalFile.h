#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "journal/JournalBatch.h"

namespace corvidctl {

/// A journal on disk, which grows batch by batch: a line of JSON for each, with mode 0600. A file that has reached its
/// limit becomes the old one, whose name ends in ".1", in place of the one before, and a new file begins.
///
/// One thread. All operations but isJournal() throw std::runtime_error with one line that names the file.
class JournalFile {
public:
    static constexpr std::size_t LIMIT = 8 * 1024 * 1024;

    /// True if there is nothing at the path, or a file that a journal may go on in: an empty one or a journal.
    static bool isJournal(const std::string& path);

    /// The name that a full file gets.
    static std::string oldName(const std::string& path) { return path + ".1"; }

    /// Opens the file, which nobody else may write meanwhile. A link that a stranger has made, and a file that has
    /// another name as well, are not written to. The first batch that is appended should be one of
    /// Cause::Start. @param limit in bytes. Fails if another process writes it.
    explicit JournalFile(std::string path, std::size_t limit = LIMIT);
    ~JournalFile();

    JournalFile(const JournalFile&) = delete;
    JournalFile& operator=(const JournalFile&) = delete;

    /// Writes a batch in one piece.
    /// @param start gives the batch of Cause::Start for a new file, which tells all that is defined after this batch.
    void append(const JournalBatch& batch, const std::function<JournalBatch()>& start);

private:
    void open(int flags);
    void lock();
    void close();
    void endTornLine();
    void write(const std::string& text);
    void beginNewFile();
    [[noreturn]] void fail(const std::string& what) const;

    const std::string path_;
    const std::size_t limit_;
    int descriptor_ = -1;
    std::size_t size_ = 0;
    std::size_t startSize_ = 0;  ///< of the batch that the file began with, as far as this object wrote it
};

}  // namespace corvidctl
