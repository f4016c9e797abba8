#include "session/Session.h"

#include "ConfigAdapter.h"
#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "stores/LocalFileConfigStore.h"

namespace corvidctl {

Session::Session(const Invocation& invocation) : host_(invocation.host), reveal_(invocation.reveal) {
    if (!host_.start()) {
        throw std::runtime_error(host_.failure());
    }
}

void Session::work(const std::function<void(Inside&)>& work) {
    host_.runOnDispatcher([this, &work] {
        const std::shared_ptr<ConfigAdapter> adapter = host_.adapter();
        const std::shared_ptr<ConfigStoreManager> chain = adapter->getConfigStoreManager();
        const std::shared_ptr<ConfigService> service = host_.service();
        Inside inside{*chain, *adapter, *service, ChainReader(*chain, reveal_)};
        work(inside);
    });
}

bool Session::allIsOnDisk() {
    bool complete = true;
    work([&complete](Inside& inside) {
        for (const std::shared_ptr<ConfigStore>& store : inside.chain.getStores()) {
            const auto file = std::dynamic_pointer_cast<LocalFileConfigStore>(store);
            if (file != nullptr && !file->isReadOnly() && file->hasUnpersistedValues()) {
                complete = false;
            }
        }
    });
    return complete;
}

bool Session::persist() {
    host_.persistAll();
    return allIsOnDisk();
}

bool Session::finish() {
    const bool complete = persist();
    host_.stop();
    return complete;
}

}  // namespace corvidctl
