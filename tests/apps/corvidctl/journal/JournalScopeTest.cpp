#include "journal/JournalScope.h"

#include <memory>

#include "ConfigFeatureSet.h"
#include "Journals.h"
#include "fakes/ScriptedStore.h"
#include "fakes/TemporaryDirectory.h"
#include "session/Session.h"

using namespace corvidctl;
using journals::change;
using journals::TickingClock;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

const std::string USERS_STORE = "LocalFileConfigStore";
const std::string MEMORY_STORE = "InMemoryConfigStore";

Invocation invocationOn(const fakes::TemporaryDirectory& directory) {
    Invocation invocation;
    invocation.host.configDirectory = directory.path("config");
    invocation.host.installationDirectory = directory.path("install");
    invocation.host.bootstrapFilePath = directory.path("install/bootstrap.properties");
    invocation.host.logLevel = 2;
    return invocation;
}

/// A store of a server with the same value under each of so many keys: "Key0", "Key1", ...
std::shared_ptr<fakes::ScriptedStore> server(int keys, const std::wstring& text) {
    const auto store = std::make_shared<fakes::ScriptedStore>("Server", 50);
    store->readOnly().remote();
    for (int i = 0; i < keys; ++i) {
        store->with(L"Key" + std::to_wstring(i), text);
    }
    return store;
}

class Journalling : public ::testing::Test {
protected:
    Journalling() : session_(invocationOn(directory_)) {
        onDispatcher([](ConfigFeatureSet& featureSet) { featureSet.setConfig(L"A", L"1"); });
        scope_ = std::make_unique<JournalScope>(session_, journal_,
                                                [this](const ChangeView& view) { told_.push_back(view.value.key); });
    }
    ~Journalling() override {
        scope_.reset();
        session_.finish();
    }

    void onDispatcher(const std::function<void(ConfigFeatureSet&)>& work) {
        session_.work([&work](Session::Inside& inside) { work(inside.featureSet); });
    }

    /// What ends a piece of work goes through the dispatcher's queue twice.
    void letTheWorkEnd() {
        onDispatcher([](ConfigFeatureSet&) {});
        onDispatcher([](ConfigFeatureSet&) {});
    }

    void onThisThread(const std::function<void(ConfigFeatureSet&)>& work) { work(*session_.host().featureSet()); }

    /// The batches after the start.
    std::vector<JournalBatch> batches() {
        scope_->stop();
        return journal_.since(1).batches;
    }

    const fakes::TemporaryDirectory directory_;
    Session session_;
    ChangeJournal journal_{false, ChangeJournal::Limits(), TickingClock()};
    std::vector<std::string> told_;
    std::unique_ptr<JournalScope> scope_;
};

}  // namespace

TEST_F(Journalling, BeginsWithAllThatIsDefined) {
    const std::vector<JournalBatch> all = journal_.since(0).batches;
    ASSERT_THAT(all, SizeIs(1));
    EXPECT_EQ(all[0].cause, Cause::Start);
    EXPECT_THAT(all[0].changes, testing::Contains(change("A", "", "1", "", USERS_STORE)));
    EXPECT_THAT(batches(), IsEmpty());
}

TEST_F(Journalling, MakesABatchOfEachTask) {
    onDispatcher([](ConfigFeatureSet& featureSet) { featureSet.setConfig(L"A", L"2"); });
    letTheWorkEnd();
    onDispatcher([](ConfigFeatureSet& featureSet) { featureSet.resetConfig(L"A"); });
    const auto all = batches();
    ASSERT_THAT(all, SizeIs(2));
    EXPECT_THAT(all[0].changes, ElementsAre(change("A", "1", "2", USERS_STORE, USERS_STORE)));
    EXPECT_EQ(all[0].cause, Cause::Set);
    EXPECT_THAT(all[1].changes, ElementsAre(change("A", "2", "", USERS_STORE, "")));
    EXPECT_EQ(all[1].cause, Cause::Reset);
}

TEST_F(Journalling, MakesOneBatchOfAllThatATaskDoes) {
    onDispatcher([](ConfigFeatureSet& featureSet) {
        featureSet.addConfigStore(server(2, L"1"));
        featureSet.setInMemoryConfig(L"WorkedOut", L"true");
    });
    const auto all = batches();
    ASSERT_THAT(all, SizeIs(1));
    EXPECT_THAT(all[0].changes,
                ElementsAre(change("Key0", "", "1", "", "Server"), change("Key1", "", "1", "", "Server"),
                            change("WorkedOut", "", "true", "", MEMORY_STORE)));
}

TEST_F(Journalling, TellsEachChangeAsItComes) {
    onDispatcher([](ConfigFeatureSet& featureSet) {
        featureSet.setConfig(L"A", L"2");
        featureSet.setConfig(L"A", L"3");
    });
    EXPECT_THAT(batches(), SizeIs(1));
    EXPECT_THAT(told_, ElementsAre("A", "A"));
}

TEST_F(Journalling, TellsWhatAStoreTookWithIt) {
    onDispatcher([](ConfigFeatureSet& featureSet) { featureSet.addConfigStore(server(1, L"1")); });
    letTheWorkEnd();
    onDispatcher([](ConfigFeatureSet& featureSet) { featureSet.removeConfigStore("Server"); });
    const auto all = batches();
    ASSERT_THAT(all, SizeIs(2));
    EXPECT_THAT(all[1].changes, testing::Contains(change("Key0", "1", "", "Server", "")));
}

TEST_F(Journalling, NeverTearsWhatAnotherThreadDoesInOnePiece) {
    constexpr int KEYS = 40;
    for (int i = 0; i < 25; ++i) {
        onThisThread(
            [i](ConfigFeatureSet& featureSet) { featureSet.addConfigStore(server(KEYS, std::to_wstring(i))); });
    }
    std::vector<std::size_t> sizes;
    for (const JournalBatch& batch : batches()) {
        sizes.push_back(batch.changes.size());
    }
    EXPECT_THAT(sizes, testing::Not(IsEmpty()));
    EXPECT_THAT(sizes, Each(KEYS));
}

TEST_F(Journalling, TakesTheCauseThatIsTold) {
    {
        const CauseScope cause(*scope_, Cause::Provisioning);
        onDispatcher([](ConfigFeatureSet& featureSet) { featureSet.setConfig(L"A", L"2"); });
    }
    onDispatcher([](ConfigFeatureSet& featureSet) { featureSet.setConfig(L"A", L"3"); });
    const auto all = batches();
    ASSERT_THAT(all, SizeIs(2));
    EXPECT_EQ(all[0].cause, Cause::Provisioning);
    EXPECT_EQ(all[1].cause, Cause::Set);
}

TEST_F(Journalling, PartsWhatHasACauseFromWhatComesBeforeAndAfterwardsInATask) {
    onDispatcher([this](ConfigFeatureSet& featureSet) {
        featureSet.setConfig(L"A", L"2");
        {
            const CauseScope cause(*scope_, Cause::File);
            featureSet.setConfig(L"B", L"2");
        }
        featureSet.setConfig(L"C", L"2");
    });
    const auto all = batches();
    ASSERT_THAT(all, SizeIs(3));
    EXPECT_EQ(all[0].changes.at(0).key, "A");
    EXPECT_EQ(all[1].changes.at(0).key, "B");
    EXPECT_EQ(all[1].cause, Cause::File);
    EXPECT_EQ(all[2].changes.at(0).key, "C");
    EXPECT_EQ(all[2].cause, Cause::Set);
}

TEST_F(Journalling, TakesTheInnerCauseWithinAnother) {
    onDispatcher([this](ConfigFeatureSet& featureSet) {
        const CauseScope outer(*scope_, Cause::Reset);
        {
            const CauseScope inner(*scope_, Cause::File);
            featureSet.setConfig(L"A", L"2");
        }
        featureSet.setConfig(L"B", L"2");
    });
    const auto all = batches();
    ASSERT_THAT(all, SizeIs(2));
    EXPECT_EQ(all[0].cause, Cause::File);
    EXPECT_EQ(all[1].cause, Cause::Reset);
}

TEST_F(Journalling, TakesTheCauseOfWhatTheCallersThreadChanges) {
    {
        const CauseScope cause(*scope_, Cause::File);
        onThisThread([](ConfigFeatureSet& featureSet) { featureSet.addConfigStore(server(3, L"1")); });
    }
    const auto all = batches();
    ASSERT_THAT(all, SizeIs(1));
    EXPECT_EQ(all[0].cause, Cause::File);
    EXPECT_THAT(all[0].changes, SizeIs(3));
}

TEST_F(Journalling, RecordsNothingAfterItsEnd) {
    scope_->stop();
    onDispatcher([](ConfigFeatureSet& featureSet) { featureSet.setConfig(L"A", L"2"); });
    {
        const CauseScope cause(*scope_, Cause::File);
        onDispatcher([](ConfigFeatureSet& featureSet) { featureSet.setConfig(L"A", L"3"); });
    }
    EXPECT_THAT(batches(), IsEmpty());
    EXPECT_THAT(told_, IsEmpty());
}

TEST_F(Journalling, HidesAKeyThatIsCalledSensitiveWithoutAChange) {
    onDispatcher([](ConfigFeatureSet& featureSet) { featureSet.setConfig(L"TFTPPrimaryServer", L"192.0.2.1"); });
    letTheWorkEnd();
    onThisThread([](ConfigFeatureSet& featureSet) {
        featureSet.setKeySensitive(L"A");
        featureSet.setKeySensitive(L"TftpServer1");  // an old name of the other
    });
    EXPECT_THAT(batches(), ElementsAre(testing::Field(
                               &JournalBatch::changes,
                               ElementsAre(change("TFTPPrimaryServer", "", "VALUE_HIDDEN", "", USERS_STORE, true)))));
    EXPECT_THAT(journal_.since(0).batches.at(0).changes,
                testing::Contains(change("A", "", "VALUE_HIDDEN", "", USERS_STORE, true)));
}
