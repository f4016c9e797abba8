#include "session/LiveWatcher.h"

#include <algorithm>
#include <utility>

#include "ConfigService.h"
#include "ConfigValue.h"
#include "ConfigValueObserver.h"
#include "chain/ConfigStoreManager.h"
#include "quill/FunctionTask.h"
#include "unified/ServicesDispatcher.h"

namespace corvidctl {

/// What one live object has told since the last line.
class LiveWatcher::Subscription : public ConfigValueObserver {
public:
    Subscription(LiveWatcher& watcher, std::shared_ptr<ConfigValue> object)
        : watcher_(watcher), object_(std::move(object)) {}

    void OnValueChanged() override { note("value"); }
    void OnOriginalValueChanged() override { note("originalValue"); }
    void OnisOverriddenChanged() override { note("isOverridden"); }
    void OnisDefinedChanged() override { note("isDefined"); }
    void OnValueStoreNameChanged() override { note("valueStoreName"); }
    void OnOriginalValueStoreNameChanged() override { note("originalValueStoreName"); }

    /// Everything that the object holds counts as told: it came into being with this report, before anyone observed it.
    void noteAllThatIsSet() {
        noteIf(!object_->getValue().empty(), "value");
        noteIf(!object_->getOriginalValue().empty(), "originalValue");
        noteIf(object_->getisOverridden(), "isOverridden");
        noteIf(object_->getisDefined(), "isDefined");
        noteIf(!object_->getValueStoreName().empty(), "valueStoreName");
        noteIf(!object_->getOriginalValueStoreName().empty(), "originalValueStoreName");
    }

    const ConfigValue& object() const { return *object_; }
    std::vector<std::string> takeChanged() { return std::exchange(changed_, {}); }

private:
    void noteIf(bool isSet, const char* property) {
        if (isSet) {
            note(property);
        }
    }

    void note(const char* property) {
        if (changed_.empty()) {
            watcher_.flushLater(object_->getKey());
        }
        if (std::find(changed_.begin(), changed_.end(), property) == changed_.end()) {
            changed_.emplace_back(property);
        }
    }

    LiveWatcher& watcher_;
    const std::shared_ptr<ConfigValue> object_;
    std::vector<std::string> changed_;
};

LiveWatcher::LiveWatcher(ConfigStoreManager& chain, std::shared_ptr<ConfigService> service,
                         std::shared_ptr<ServicesDispatcher> dispatcher, ChainReader reader, KeySelection selection,
                         Listener listener)
    : chain_(chain),
      service_(std::move(service)),
      dispatcher_(std::move(dispatcher)),
      reader_(reader),
      selection_(std::move(selection)),
      listener_(std::move(listener)) {}

LiveWatcher::~LiveWatcher() = default;

void LiveWatcher::start() {
    started_ = true;
    const auto objects = service_->getAllConfig();
    for (const std::shared_ptr<ConfigValue>& object : *objects) {
        subscribe(object);
    }
    chain_.AddObserver(this);
}

void LiveWatcher::stop() {
    chain_.RemoveObserver(this);
    endWork();
    started_ = false;
    subscriptions_.clear();
}

std::shared_ptr<LiveWatcher::Subscription> LiveWatcher::subscribe(const std::shared_ptr<ConfigValue>& object) {
    const auto subscription = std::make_shared<Subscription>(*this, object);
    object->addObserver(std::weak_ptr<ConfigValueObserver>(subscription));
    subscriptions_.emplace(object->getKey(), subscription);
    return subscription;
}

void LiveWatcher::onFireIfRequired(std::wstring key) { betweenReports(key, false); }

void LiveWatcher::onSensitiveKeyAddedOrUpdated(std::wstring key) {
    if (secretListener_) {
        secretListener_(reader_.currentName(key));
    }
}

void LiveWatcher::onConfigAddedOrUpdated(std::wstring key, std::wstring, std::wstring, bool, bool, std::wstring,
                                         std::wstring, bool silent) {
    betweenReports(key, silent);
}

void LiveWatcher::betweenReports(const std::wstring& key, bool silent) {
    const std::weak_ptr<LiveWatcher> weak = weak_from_this();
    onDispatcher([weak, key, silent] {
        if (const std::shared_ptr<LiveWatcher> self = weak.lock(); self != nullptr && self->started_) {
            self->follow(key, silent);
            self->flush();
        }
    });
}

void LiveWatcher::follow(const std::wstring& key, bool silent) {
    const std::shared_ptr<ConfigValue> object = service_->getConfig(key);
    if (subscriptions_.count(object->getKey()) != 0) {
        return;
    }
    const std::shared_ptr<Subscription> subscription = subscribe(object);
    // The chain's observers are called in no particular order. If the service was told first, this object has fired
    // already; after a silent report it is still to fire.
    if (!silent) {
        subscription->noteAllThatIsSet();
    }
}

void LiveWatcher::onDispatcher(const std::function<void()>& function) {
    if (dispatcher_->checkForUpdateAccess()) {
        function();
    } else {
        dispatcher_->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>(function, "LiveWatcher::betweenReports"));
    }
}

void LiveWatcher::afterwards(void (LiveWatcher::*function)(), const char* name) {
    const std::weak_ptr<LiveWatcher> weak = weak_from_this();
    dispatcher_->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>(
        [weak, function] {
            if (const std::shared_ptr<LiveWatcher> self = weak.lock()) {
                ((*self).*function)();
            }
        },
        name));
}

void LiveWatcher::flushLater(const std::wstring& key) {
    waiting_.push_back(key);
    afterwards(&LiveWatcher::flush, "LiveWatcher::flush");
    if (workListener_ && !isEndingWork_) {
        isEndingWork_ = true;
        // The task at hand is over by then.
        afterwards(&LiveWatcher::endWorkBehindOtherThreads, "LiveWatcher::endWorkBehindOtherThreads");
    }
}

void LiveWatcher::endWorkBehindOtherThreads() {
    flush();
    // Another thread reports all that it does while it holds the chain. With the chain in hand, everything of a piece
    // of work is in the queue already, or nothing of it.
    chain_.atomically([this] { afterwards(&LiveWatcher::endWork, "LiveWatcher::endWork"); });
}

void LiveWatcher::endWork() {
    isEndingWork_ = false;
    flush();
    if (workListener_ && started_) {
        workListener_();
    }
}

void LiveWatcher::flush() {
    for (const std::wstring& key : std::exchange(waiting_, {})) {
        const auto found = subscriptions_.find(key);
        if (found == subscriptions_.end()) {
            continue;
        }
        const std::vector<std::string> changed = found->second->takeChanged();
        if (!changed.empty() && selection_.contains(found->second->object().getKey())) {
            listener_({reader_.describe(found->second->object()), changed});
        }
    }
}

}  // namespace corvidctl
