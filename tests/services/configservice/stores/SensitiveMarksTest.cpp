#include <memory>

#include "StoreTestSupport.h"
#include "chain/ConfigStoreManager.h"
#include "fakes/HandSteppedTaskDispatcher.h"
#include "stores/CacheConfigStore.h"
#include "stores/XmlConfigStore.h"

namespace storetests {
namespace {

/// A manager over real stores.
class SensitiveMarksOfFiles : public StoreTest {
protected:
    std::wstring valueOf(const std::wstring& key) {
        std::wstring value;
        return manager_.getValue(key, value, false) ? value : L"(none)";
    }

    const std::string document_ = serverDocument("<Pin sensitive='true'>1234</Pin>");
    ConfigStoreManager manager_{
        std::make_shared<UnifiedFactory>(nullptr, std::make_shared<fakes::HandSteppedTaskDispatcher>())};
};

TEST_F(SensitiveMarksOfFiles, AreNotTakenFromAnOverrideFile) {
    manager_.addStore(std::make_shared<XmlConfigStore>("Override", 10, false, write("o.xml", document_), true));
    EXPECT_EQ(valueOf(L"pin"), L"1234");
    EXPECT_FALSE(manager_.isKeySensitive(L"pin"));
}

TEST_F(SensitiveMarksOfFiles, AreNotTakenFromACacheFile) {
    manager_.addStore(std::make_shared<CacheConfigStore>("cachedX.xml", 240, write("cachedX.xml", document_)));
    EXPECT_EQ(valueOf(L"pin"), L"1234");
    EXPECT_FALSE(manager_.isKeySensitive(L"pin"));
}

}  // namespace
}  // namespace storetests
