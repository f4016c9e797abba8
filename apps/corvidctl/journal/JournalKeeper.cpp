#include "journal/JournalKeeper.h"

#include <stdexcept>
#include <utility>

namespace corvidctl {

JournalKeeper::JournalKeeper(ChangeJournal& journal, Listener listener)
    : journal_(journal), listener_(std::move(listener)) {
    journal_.setListener([this] { handOn(); });
}

void JournalKeeper::writeTo(const std::string& path, std::function<void(const std::string&)> complain) {
    file_ = std::make_unique<JournalFile>(path);
    complain_ = std::move(complain);
}

void JournalKeeper::handOn() {
    for (const JournalBatch& batch : journal_.since(lastNumber_).batches) {
        lastNumber_ = batch.number;
        write(batch);
        if (listener_ && batch.cause != Cause::Start) {
            listener_(batch);
        }
    }
}

void JournalKeeper::write(const JournalBatch& batch) {
    if (file_ == nullptr) {
        return;
    }
    try {
        file_->append(batch, [this] { return journal_.picture(); });
    } catch (const std::runtime_error& error) {
        file_.reset();
        isComplete_ = false;
        complain_(error.what());
    }
}

}  // namespace corvidctl
