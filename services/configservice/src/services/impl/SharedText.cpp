#include "SharedText.h"

#include <cstddef>
#include <map>

#include "tessel/Mutex.h"

namespace {

/// The texts that are in use. What is no longer used is dropped now and then.
class Pool {
public:
    std::shared_ptr<const std::wstring> share(const std::wstring& text) {
        const tessel::ScopedLock lock(mutex_);
        // One text is asked for many times in a row, while a store's keys are reported.
        if (latest_ == nullptr || *latest_ != text) {
            latest_ = find(text);
        }
        return latest_;
    }

private:
    static constexpr std::size_t LEAST = 64;

    std::shared_ptr<const std::wstring> find(const std::wstring& text) TESSEL_REQUIRES(mutex_) {
        if (texts_.size() >= tidyAt_) {
            std::erase_if(texts_, [](const auto& entry) { return entry.second.expired(); });
            tidyAt_ = 2 * texts_.size() + LEAST;
        }
        std::weak_ptr<const std::wstring>& known = texts_[text];
        std::shared_ptr<const std::wstring> shared = known.lock();
        if (shared == nullptr) {
            shared = std::make_shared<const std::wstring>(text);
            known = shared;
        }
        return shared;
    }

    tessel::Mutex mutex_;
    std::shared_ptr<const std::wstring> latest_ TESSEL_GUARDED_BY(mutex_);
    std::map<std::wstring, std::weak_ptr<const std::wstring>> texts_ TESSEL_GUARDED_BY(mutex_);
    std::size_t tidyAt_ TESSEL_GUARDED_BY(mutex_) = LEAST;
};

/// Never destroyed: clients may keep live values to the very end of a process.
Pool& pool() {
    static auto* const instance = new Pool;
    return *instance;
}

}  // namespace

SharedText::SharedText(const std::wstring& text) : text_(text.empty() ? nullptr : pool().share(text)) {}

const std::wstring& SharedText::text() const {
    static const auto* const empty = new std::wstring;
    return text_ != nullptr ? *text_ : *empty;
}
