// Nothing of this tree but the example and the public headers: it is compiled with an installation, too.
#include "environment-store/EnvironmentStore.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "testing/StoreContract.h"

namespace {

/// The process's own variables of that kind go, so that the store holds exactly what the test gives it.
void clearEnvironment() {
    EnvironmentStore store;
    for (const std::wstring& key : store.getKeys()) {
        unsetenv(("CORVID_" + QuillCoreUtils::toString(key)).c_str());
    }
}

std::shared_ptr<ConfigStore> makeFromEnvironment(const std::map<std::wstring, std::wstring>& values) {
    clearEnvironment();
    std::vector<std::string> names;
    for (const auto& [key, value] : values) {
        names.push_back("CORVID_" + QuillCoreUtils::toString(key));
        setenv(names.back().c_str(), QuillCoreUtils::toString(value).c_str(), 1);
    }
    auto store = std::make_shared<EnvironmentStore>();
    for (const std::string& name : names) {
        unsetenv(name.c_str());
    }
    return store;
}

//! [contract]
StoreContractCase environmentStore() {
    return {.kind = "EnvironmentStore",
            .make = [](const auto& values, const auto&) { return makeFromEnvironment(values); },
            .name = "EnvironmentStore",
            .priority = 30,
            .readOnly = true,
            .stores = false,
            .removes = false,
            .empties = false};
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Environment, StoreContract, testing::Values(environmentStore()), nameOfStoreContractCase);
//! [contract]

TEST(EnvironmentStore, SplitsAtTheFirstEqualsSign) {
    std::wstring value;
    EXPECT_TRUE(makeFromEnvironment({{L"Filter", L"ou=people,dc=example"}})->getValue(L"filter", value));
    EXPECT_EQ(value, L"ou=people,dc=example");
}

TEST(EnvironmentStore, PassesOverWhatIsNotMeantForIt) {
    clearEnvironment();
    setenv("CORVID_", "no key", 1);
    setenv("CORVIDDomain", "no separator", 1);
    EXPECT_TRUE(EnvironmentStore().getKeys().empty());
    unsetenv("CORVID_");
    unsetenv("CORVIDDomain");
}
