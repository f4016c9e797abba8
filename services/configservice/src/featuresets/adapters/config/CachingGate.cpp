#include "CachingGate.h"

#include <utility>

unsigned CachingGate::noteJoin(const std::shared_ptr<ConfigStore>& store) {
    if (now() % 2 != 0) {
        joinedMeanwhile_.push_back(store);
    }
    return now();
}

void CachingGate::beginReset() { changes_.store((now() + 1) | 1U, std::memory_order_relaxed); }

std::vector<std::shared_ptr<ConfigStore>> CachingGate::endReset() {
    changes_.store(now() + 1, std::memory_order_relaxed);
    return std::exchange(joinedMeanwhile_, {});
}
