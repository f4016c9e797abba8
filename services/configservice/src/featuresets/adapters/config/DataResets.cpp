#include "DataResets.h"

#include <utility>

unsigned DataResets::noteJoin(const std::shared_ptr<ConfigStore>& store) {
    if (now() % 2 != 0) {
        joinedMeanwhile_.push_back(store);
    }
    return now();
}

void DataResets::begin() { changes_.store((now() + 1) | 1U, std::memory_order_relaxed); }

std::vector<std::shared_ptr<ConfigStore>> DataResets::end() {
    changes_.store(now() + 1, std::memory_order_relaxed);
    return std::exchange(joinedMeanwhile_, {});
}
