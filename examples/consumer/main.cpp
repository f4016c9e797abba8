// A host outside this tree: puts the module in, sets a key as its user does, and prints what the key is then.
// Built by the installed CMake package (CMakeLists.txt) or by pkg-config (Makefile); the module is linked, not loaded.
#include <iostream>
#include <memory>
#include <string>

#include "ConfigService.h"
#include "ConfigServiceVersion.h"
#include "InjectConfigService.h"
#include "impl/system/SystemServiceImpl.h"
#include "impl/unified/ServicesDispatcherImpl.h"
#include "impl/unified/TaskDispatcherImpl.h"
#include "impl/unified/ThreadPoolImpl.h"
#include "quill/FunctionTask.h"
#include "quill/StringUtils.h"
#include "system/World.h"
#include "unified/UnifiedFactory.h"

namespace {

/// What a client does with a key, on the dispatcher thread. @return what it is then, and where from.
std::string setKey(UnifiedFactory& factory) {
    const auto value = factory.getService<ConfigService>()->getConfig(L"ServicesDomain");
    value->setConfig(L"example.com");
    return QuillCoreUtils::toString(value->getKey() + L" is " + value->getValue() + L", from " +
                                    value->getValueStoreName());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: consumer CONFIGURATION-DIRECTORY\n";
        return 2;
    }
    const auto dispatcher = std::make_shared<ServicesDispatcherImpl>();
    const auto persistQueue = std::make_shared<TaskDispatcherImpl>();
    const auto threadPool = std::make_shared<ThreadPoolImpl>(2);
    const auto system = std::make_shared<SystemServiceImpl>();
    const auto factory = std::make_shared<UnifiedFactory>(dispatcher, persistQueue);

    const auto world = std::make_shared<platform::World>();
    world->configDirectory = argv[1];
    world->threadPool = threadPool;
    platform::setWorld(world);  // before the module goes in, which reads its files at once
    factory->setService<SystemService>(1, system);
    dispatcher->start();

    std::string answer;
    dispatcher->enqueueBlock(std::make_shared<QuillCoreUtils::FunctionTask>(
        [&] {
            InjectConfigService(factory);
            answer = setKey(*factory);
        },
        "consumer"));
    std::cout << "version " << CONFIG_SERVICE_VERSION << "\n" << answer << std::endl;

    persistQueue->drain();  // what was set is on disk
    factory->getFeatureSetAdapter(CONFIG_SERVICE_ID)->Destroy();
    threadPool->stop();
    persistQueue->drain();
    dispatcher->stop();
    system->resetDataProvider()->clear();
    factory->clear();
    platform::setWorld(std::make_shared<platform::World>());
    return answer.empty() ? 1 : 0;
}
