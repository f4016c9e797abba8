#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "journal/ChangeJournal.h"
#include "journal/JournalFile.h"

namespace corvidctl {

/// Hands the batches of a journal on as they come: to a file, if there is one, and to a listener. The listener is not
/// told of Cause::Start, which is no change.
///
/// The journal's news come on one thread; the other operations are called before they begin or after they have ended.
class JournalKeeper {
public:
    using Listener = std::function<void(const JournalBatch&)>;

    /// @param journal must outlive this. @param listener may be empty.
    JournalKeeper(ChangeJournal& journal, Listener listener);
    ~JournalKeeper() { journal_.setListener({}); }

    JournalKeeper(const JournalKeeper&) = delete;
    JournalKeeper& operator=(const JournalKeeper&) = delete;

    /// Writes the batches to a file, too. @throws std::runtime_error with one line if that cannot be opened.
    /// @param complain told once, if it cannot be written; nothing more is written then.
    void writeTo(const std::string& path, std::function<void(const std::string&)> complain);

    /// False if something could not be written.
    bool isComplete() const { return isComplete_; }

private:
    void handOn();
    void write(const JournalBatch& batch);

    ChangeJournal& journal_;
    const Listener listener_;
    std::uint64_t lastNumber_ = 0;
    std::unique_ptr<JournalFile> file_;
    std::function<void(const std::string&)> complain_;
    bool isComplete_ = true;
};

}  // namespace corvidctl
