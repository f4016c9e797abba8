#include "quill/ThreadUtils.h"

#include <memory>

#include "system/World.h"
#include "tessel/TesselLogger.h"

namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("ThreadUtils");
    return instance;
}

}  // namespace

void QuillCoreUtils::ThreadUtils::runInThreadPool(const boost::function<void()>& function, const std::string& name) {
    const std::shared_ptr<platform::ThreadPool> pool = platform::getWorld()->threadPool;
    if (pool == nullptr || !pool->run(function, name)) {
        TesselLog(logger(), 3, __FILE__, __LINE__, __func__, "No thread pool, dropped task [" + name + "]");
    }
}
