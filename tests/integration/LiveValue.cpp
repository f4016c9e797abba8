#include "LiveValue.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "ConfigService.h"
#include "quill/StringUtils.h"
#include "unified/ServicesDispatcher.h"
#include "unified/UnifiedFactory.h"

namespace integration {

void PrintTo(const LiveValue::Told& told, std::ostream* out) {
    *out << '"' << QuillCoreUtils::toString(told.value) << "\" from " << QuillCoreUtils::toString(told.storeName)
         << (told.onDispatcherThread ? "" : ", on another thread");
}

class LiveValue::Observer : public ConfigValueObserver {
public:
    Observer(std::shared_ptr<ConfigValue> object, std::shared_ptr<ServicesDispatcher> dispatcher)
        : object_(std::move(object)), dispatcher_(std::move(dispatcher)) {}

    void OnValueChanged() override {
        const std::lock_guard<std::mutex> lock(mutex_);
        told_.push_back({object_->getValue(), object_->getValueStoreName(), dispatcher_->checkForUpdateAccess()});
        changed_.notify_all();
    }

    std::vector<Told> told() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return told_;
    }

    void waitFor(const std::wstring& value) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] {
            return std::any_of(told_.begin(), told_.end(), [&](const Told& one) { return one.value == value; });
        });
    }

private:
    const std::shared_ptr<ConfigValue> object_;
    const std::shared_ptr<ServicesDispatcher> dispatcher_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Told> told_;
};

LiveValue::LiveValue(const Client& client, const std::wstring& key) {
    client.host().runOnDispatcher([&] {
        const std::shared_ptr<ConfigValue> object = client.host().service()->getConfig(key);
        observer_ = std::make_shared<Observer>(object, client.host().factory()->getServicesDispatcher());
        object->addObserver(std::weak_ptr<ConfigValueObserver>(observer_));
    });
}

std::vector<LiveValue::Told> LiveValue::told() const { return observer_->told(); }

std::vector<std::wstring> LiveValue::values() const {
    std::vector<std::wstring> values;
    for (const Told& one : told()) {
        values.push_back(one.value);
    }
    return values;
}

void LiveValue::waitFor(const std::wstring& value) const { observer_->waitFor(value); }

}  // namespace integration
