#include "inspecting/KeyRows.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "fakes/TemporaryDirectory.h"

using namespace corvidctl;
using namespace std::chrono_literals;

namespace {

const std::set<std::string> WRITABLE = {"LocalFileConfigStore", "InMemoryConfigStore"};

ValueView valueFrom(const std::string& store) {
    ValueView value;
    value.key = "Key";
    value.value = "text";
    value.isDefined = !store.empty();
    value.valueStoreName = store;
    return value;
}

std::string stateFrom(const std::string& store, bool isOverridden, bool shadowsUser,
                      const std::string& administrators = "corvid-config-defaults.xml") {
    ValueView value = valueFrom(store);
    value.originalValueStoreName = administrators;
    value.isOverridden = isOverridden;
    value.shadowsUser = shadowsUser;
    return nameOf(stateOf(value, WRITABLE));
}

JournalBatch batchOf(std::chrono::seconds time, Cause cause, const std::string& key) {
    JournalBatch batch;
    batch.time = std::chrono::system_clock::time_point(time);
    batch.cause = cause;
    batch.changes = {{key, "", "text", "", "Store", false}};
    return batch;
}

class TimesOfKeys : public ::testing::Test {
protected:
    std::optional<KeyTimes::Moment> timeOf(const std::vector<JournalBatch>& batches, const ValueView& value) {
        return KeyTimes(batches, sources_).of(value);
    }

    const fakes::TemporaryDirectory directory_;
    const std::string file_ = directory_.write("config/corvidLocalConfig.xml", "<Corvid/>");
    StoreSources sources_{{directory_.path("config"), directory_.path("install"), directory_.path("bootstrap")}};
};

}  // namespace

TEST(KeyStates, TellWhoSaysWhatAKeyReads) {
    EXPECT_EQ(stateFrom("corvid-config-defaults.xml", false, false), "default");
    EXPECT_EQ(stateFrom("TFTPConfigStore", false, false), "administrator");
    EXPECT_EQ(stateFrom("LocalFileConfigStore", true, false, ""), "user");
    EXPECT_EQ(stateFrom("LocalFileConfigStore", false, false), "user");
    EXPECT_EQ(stateFrom("InMemoryConfigStore", false, false), "user");
    EXPECT_EQ(stateFrom("LocalFileConfigStore", true, false), "overridden");
    EXPECT_EQ(stateFrom("TftpOverrideConfigStore", false, true), "shadowed");
    EXPECT_EQ(stateFrom("corvid-config-defaults.xml", false, true), "shadowed");
    EXPECT_EQ(stateFrom("", false, false), "undefined");
}

TEST_F(TimesOfKeys, AreThoseOfTheLastChangeInAnyCase) {
    const std::vector<JournalBatch> batches = {batchOf(10s, Cause::Set, "key"), batchOf(20s, Cause::Set, "KEY"),
                                               batchOf(30s, Cause::Set, "Other")};
    EXPECT_EQ(timeOf(batches, valueFrom("LocalFileConfigStore")), KeyTimes::Moment(20s));
}

TEST_F(TimesOfKeys, AreThoseOfTheFileBeforeAnyChange) {
    const std::vector<JournalBatch> batches = {batchOf(10s, Cause::Start, "Key")};
    const auto ofFile = sources_.of("LocalFileConfigStore").origin.time;
    ASSERT_TRUE(ofFile);
    EXPECT_EQ(timeOf(batches, valueFrom("LocalFileConfigStore")), ofFile);
}

TEST_F(TimesOfKeys, AreNoneWhereNothingIsKnown) {
    EXPECT_EQ(timeOf({}, valueFrom("InMemoryConfigStore")), std::nullopt);
    EXPECT_EQ(timeOf({}, valueFrom("")), std::nullopt);
}

TEST_F(TimesOfKeys, StandInTheRows) {
    KeyList list;
    list.values = {valueFrom("LocalFileConfigStore")};
    list.writableStores = WRITABLE;
    list.lastBatch = 7;
    KeyTimes times({batchOf(10s, Cause::Set, "Key")}, sources_);
    EXPECT_EQ(answers::keys(list, times).dump(),
              R"({"last":7,"keys":[{"key":"Key","value":"text","originalValue":"","isOverridden":false,)"
              R"("isDefined":true,"valueStoreName":"LocalFileConfigStore","originalValueStoreName":"",)"
              R"("isSensitive":false,"state":"user","since":"1970-01-01T00:00:10.000Z"}]})");
}
