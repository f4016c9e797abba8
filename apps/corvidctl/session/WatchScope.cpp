#include "session/WatchScope.h"

#include <utility>

#include "session/Session.h"
#include "unified/UnifiedFactory.h"

namespace corvidctl {

WatchScope::WatchScope(Session& session, const std::vector<std::string>& globs, LiveWatcher::Listener listener)
    : session_(session) {
    session_.work([&](Session::Inside& inside) {
        watcher_ = std::make_shared<LiveWatcher>(inside.chain, session_.host().service(),
                                                 session_.host().factory()->getServicesDispatcher(), inside.reader,
                                                 KeySelection(globs, inside.reader), std::move(listener));
        watcher_->start();
    });
}

WatchScope::~WatchScope() { stop(); }

void WatchScope::stop() {
    if (watcher_ != nullptr) {
        session_.work([this](Session::Inside&) {
            watcher_->stop();
            watcher_.reset();
        });
    }
}

}  // namespace corvidctl
