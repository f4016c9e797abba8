#include "CachingGate.h"

#include "ConfigStore.h"
#include "quill/StringUtils.h"

std::shared_ptr<const CachingPermit> CachingGate::noteJoin(const std::shared_ptr<ConfigStore>& store) {
    if (isResetting_) {
        joinedMeanwhile_.push_back(store);
    }
    // Of two of one name the later one answers, whichever of them is cached last.
    noteRemoval(store->getName());
    const auto permit = std::make_shared<CachingPermit>(store->getName(), !isResetting_);
    std::erase_if(permits_, [](const std::weak_ptr<CachingPermit>& former) { return former.expired(); });
    permits_.push_back(permit);
    return permit;
}

void CachingGate::noteRemoval(const std::string& storeName) {
    for (const std::weak_ptr<CachingPermit>& weak : permits_) {
        const std::shared_ptr<CachingPermit> permit = weak.lock();
        if (permit != nullptr && QuillCoreUtils::caseInsensitiveStringEquals(permit->storeName(), storeName)) {
            permit->withdraw();
        }
    }
}

void CachingGate::beginReset() {
    isResetting_ = true;
    for (const std::weak_ptr<CachingPermit>& weak : permits_) {
        if (const std::shared_ptr<CachingPermit> permit = weak.lock()) {
            permit->withdraw();
        }
    }
}

std::vector<std::shared_ptr<ConfigStore>> CachingGate::endReset() {
    isResetting_ = false;
    return std::exchange(joinedMeanwhile_, {});
}
