#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "fakes/ScriptedStore.h"

/// Is asked for its priority a second time when its cached copy is about to be written.
class SlowlyCachedStore : public fakes::ScriptedStore {
public:
    explicit SlowlyCachedStore(std::function<void()> beforeWriting)
        : ScriptedStore("Outside", 45), beforeWriting_(std::move(beforeWriting)) {
        cached().with(L"outside", L"value");
    }
    std::int32_t getCachedPriority() override {
        if (++asked_ == 2) {
            beforeWriting_();
        }
        return ScriptedStore::getCachedPriority();
    }

private:
    const std::function<void()> beforeWriting_;
    int asked_ = 0;
};
