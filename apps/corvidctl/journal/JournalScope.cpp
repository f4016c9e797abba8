#include "journal/JournalScope.h"

#include <utility>

#include "journal/ChangeJournal.h"
#include "session/Session.h"
#include "unified/UnifiedFactory.h"

namespace corvidctl {

JournalScope::JournalScope(Session& session, ChangeJournal& journal, LiveWatcher::Listener listener)
    : session_(session), recorder_(journal) {
    session_.work([&](Session::Inside& inside) {
        // In one task, so that no change falls between what the journal begins with and what it is told.
        journal.start(inside.reader.definedValues());
        watcher_ = std::make_shared<LiveWatcher>(
            inside.chain, session_.host().service(), session_.host().factory()->getServicesDispatcher(), inside.reader,
            KeySelection({}, inside.reader), [this, tell = std::move(listener)](const ChangeView& change) {
                recorder_.add(change);
                if (tell) {
                    tell(change);
                }
            });
        watcher_->setWorkListener([this] { recorder_.endWork(); });
        watcher_->setSecretListener([&journal](const std::wstring& key) { journal.hide(key); });
        watcher_->start();
    });
}

JournalScope::~JournalScope() { stop(); }

void JournalScope::stop() {
    if (watcher_ != nullptr) {
        session_.work([this](Session::Inside&) {
            watcher_->stop();
            watcher_.reset();
        });
    }
}

std::optional<Cause> JournalScope::expect(std::optional<Cause> cause) {
    std::optional<Cause> before;
    session_.work([&](Session::Inside&) {
        if (watcher_ != nullptr) {
            watcher_->endWork();
        }
        before = recorder_.expect(cause);
    });
    return before;
}

}  // namespace corvidctl
