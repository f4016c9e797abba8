#include "support/PlatformTestModule.h"

#include <atomic>
#include <stdexcept>

#include "unified/UnifiedFactory.h"

namespace {

std::atomic<int> entryCount{0};

class TestModuleServiceImpl : public TestModuleService {
public:
    explicit TestModuleServiceImpl(int entries) : entries_(entries) {}

    int entries() const override { return entries_; }

private:
    const int entries_;
};

}  // namespace

extern "C" void InjectTestModule(const std::shared_ptr<UnifiedFactory>& factory) {
    factory->setService<TestModuleService>(1, std::make_shared<TestModuleServiceImpl>(++entryCount));
    factory->getFeatureSet<TestModuleFeatureSet>();
}

extern "C" void InjectFailingTestModule(const std::shared_ptr<UnifiedFactory>& factory) {
    InjectTestModule(factory);
    throw std::runtime_error("half-way");
}
