#include "impl/unified/DlModuleLoader.h"

#include <stdexcept>
#include <thread>

#include "fakes/RecordingLogSink.h"
#include "fakes/TemporaryDirectory.h"
#include "support/PlatformTestModule.h"
#include "unified/UnifiedFactory.h"

using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

const std::string serviceType = typeMapName(typeid(TestModuleService));
const std::string featureSetType = typeMapName(typeid(TestModuleFeatureSet));

class DlModuleLoaderTest : public ::testing::Test {
protected:
    const fakes::ScopedRecordingLog log;
    const std::shared_ptr<DlModuleLoader> loader = std::make_shared<DlModuleLoader>();
    const std::shared_ptr<UnifiedFactory> factory = std::make_shared<UnifiedFactory>(nullptr, nullptr, loader);
};

}  // namespace

TEST_F(DlModuleLoaderTest, LoadsTheModuleOfAServiceThatIsAskedFor) {
    loader->addModule(serviceType, PLATFORM_TEST_MODULE, "InjectTestModule");
    EXPECT_NE(factory->getService<TestModuleService>(), nullptr);
    EXPECT_TRUE(log->lines().empty());
}

TEST_F(DlModuleLoaderTest, LoadsTheModuleOfAFeatureSetThatIsAskedFor) {
    loader->addModule(featureSetType, PLATFORM_TEST_MODULE, "InjectTestModule");
    EXPECT_EQ(factory->getService<TestModuleService>(), nullptr);
    factory->getFeatureSet<TestModuleFeatureSet>();
    EXPECT_NE(factory->getService<TestModuleService>(), nullptr);
}

// The module asks for its own feature set while it registers itself, which leads back to the loader.
TEST_F(DlModuleLoaderTest, RunsAModuleThatBringsSeveralTypesOnce) {
    loader->addModule(serviceType, PLATFORM_TEST_MODULE, "InjectTestModule");
    loader->addModule(featureSetType, PLATFORM_TEST_MODULE, "InjectTestModule");
    const auto service = factory->getService<TestModuleService>();
    ASSERT_NE(service, nullptr);
    factory->getFeatureSet<TestModuleFeatureSet>();
    loader->loadService(serviceType, factory);
    EXPECT_EQ(factory->getService<TestModuleService>(), service);
}

TEST_F(DlModuleLoaderTest, RunsAModuleAnewForAnotherLoader) {
    loader->addModule(serviceType, PLATFORM_TEST_MODULE, "InjectTestModule");
    const int before = factory->getService<TestModuleService>()->entries();
    const auto secondLoader = std::make_shared<DlModuleLoader>();
    secondLoader->addModule(serviceType, PLATFORM_TEST_MODULE, "InjectTestModule");
    const auto secondFactory = std::make_shared<UnifiedFactory>(nullptr, nullptr, secondLoader);
    EXPECT_EQ(secondFactory->getService<TestModuleService>()->entries(), before + 1);
}

TEST_F(DlModuleLoaderTest, RunsAModuleAnewThatHasThrownHalfWay) {
    loader->addModule(serviceType, PLATFORM_TEST_MODULE, "InjectFailingTestModule");
    loader->addModule(featureSetType, PLATFORM_TEST_MODULE, "InjectFailingTestModule");
    EXPECT_THROW(factory->getService<TestModuleService>(), std::runtime_error);
    const auto service = factory->getService<TestModuleService>();
    ASSERT_NE(service, nullptr) << "it was registered before";
    EXPECT_THROW(factory->getFeatureSet<TestModuleFeatureSet>(), std::runtime_error);
    EXPECT_EQ(factory->getService<TestModuleService>()->entries(), service->entries() + 1);
}

TEST_F(DlModuleLoaderTest, RunsAModuleAnewForATypeThatAnotherThreadMissedBeforeItThrew) {
    class MissedType {};
    class AskingLoader : public DlModuleLoader {
    public:
        /// The module asks for it in the midst of its entry point.
        void loadFeatureSet(const std::string& typeName, const std::shared_ptr<UnifiedFactory>& given) override {
            if (!hasAsked_) {
                hasAsked_ = true;
                std::thread([&] { EXPECT_EQ(given->getService<MissedType>(), nullptr); }).join();
            }
            DlModuleLoader::loadFeatureSet(typeName, given);
        }

    private:
        bool hasAsked_ = false;
    };
    const auto askingLoader = std::make_shared<AskingLoader>();
    askingLoader->addModule(serviceType, PLATFORM_TEST_MODULE, "InjectFailingTestModule");
    askingLoader->addModule(typeMapName(typeid(MissedType)), PLATFORM_TEST_MODULE, "InjectFailingTestModule");
    const auto askingFactory = std::make_shared<UnifiedFactory>(nullptr, nullptr, askingLoader);
    EXPECT_THROW(askingFactory->getService<TestModuleService>(), std::runtime_error);
    const int before = askingFactory->getService<TestModuleService>()->entries();
    EXPECT_THROW(askingFactory->getService<MissedType>(), std::runtime_error);
    EXPECT_EQ(askingFactory->getService<TestModuleService>()->entries(), before + 1);
}

TEST_F(DlModuleLoaderTest, TakesTheLaterOfTwoModulesForAType) {
    loader->addModule(serviceType, "/nowhere/libmissing.so", "InjectTestModule");
    loader->addModule(serviceType, PLATFORM_TEST_MODULE, "InjectTestModule");
    EXPECT_NE(factory->getService<TestModuleService>(), nullptr);
}

TEST_F(DlModuleLoaderTest, LoadsNothingForATypeThatNoModuleBrings) {
    loader->addModule(featureSetType, PLATFORM_TEST_MODULE, "InjectTestModule");
    EXPECT_EQ(factory->getService<TestModuleService>(), nullptr);
    EXPECT_TRUE(log->lines().empty());
}

TEST_F(DlModuleLoaderTest, LogsAMissingLibraryOnce) {
    loader->addModule(serviceType, "/nowhere/libmissing.so", "InjectTestModule");
    EXPECT_EQ(factory->getService<TestModuleService>(), nullptr);
    loader->loadService(serviceType, factory);
    ASSERT_EQ(log->lines().size(), 1U);
    EXPECT_EQ(log->lines()[0].level, 2);
    EXPECT_EQ(log->lines()[0].logger, "ModuleLoader");
    EXPECT_THAT(log->lines()[0].text, StartsWith("Cannot load module [/nowhere/libmissing.so]: "));
    EXPECT_THAT(log->lines()[0].text, HasSubstr("No such file or directory"));
}

TEST_F(DlModuleLoaderTest, LogsALibraryThatIsNone) {
    const fakes::TemporaryDirectory directory;
    const std::string path = directory.write("libtext.so", "no library at all");
    loader->addModule(serviceType, path, "InjectTestModule");
    EXPECT_EQ(factory->getService<TestModuleService>(), nullptr);
    ASSERT_EQ(log->texts(2).size(), 1U);
    EXPECT_THAT(log->texts(2)[0], StartsWith("Cannot load module [" + path + "]: "));
}

TEST_F(DlModuleLoaderTest, LogsAMissingEntryPoint) {
    loader->addModule(serviceType, PLATFORM_TEST_MODULE, "InjectNothing");
    EXPECT_EQ(factory->getService<TestModuleService>(), nullptr);
    ASSERT_EQ(log->texts(2).size(), 1U);
    EXPECT_THAT(log->texts(2)[0], StartsWith("No entry point [InjectNothing] in module [" PLATFORM_TEST_MODULE "]: "));
    EXPECT_THAT(log->texts(2)[0], HasSubstr("undefined symbol"));
}
