#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <span>

#include "ChainFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// An observer of the module's own, which writes down what it is told by reference.
class Receiver final : public fakes::RecordingManagerObserver, public KeyReportReceiver {
public:
    void takeReport(const KeyReport& report) override {
        noteWhetherExpected(report.key);
        taken.push_back({fakes::ManagerReport::Kind::Change, report.key.text(), report.value, report.originalValue,
                         report.isOverridden, report.isDefined, report.valueStoreName, report.originalValueStoreName,
                         report.silent});
    }

    void fireIfRequired(const FoldedKey& key) override {
        noteWhetherExpected(key);
        taken.push_back(fakes::ManagerReport::fire(key.text()));
    }

    void expect(std::span<const FoldedKey> keys) override {
        for (const FoldedKey& key : keys) {
            awaited.push_back(key.text());
        }
    }

    std::vector<fakes::ManagerReport> taken;
    std::deque<std::wstring> awaited;  ///< what is to come, as it was told
    std::size_t expected = 0;          ///< reports and fires of just the key that was to come

private:
    void noteWhetherExpected(const FoldedKey& key) {
        if (!awaited.empty() && awaited.front() == key.text()) {
            awaited.pop_front();
            ++expected;
        }
    }
};

class Reports : public ChainFixture {
protected:
    /// Works the key out and gives the one report that it makes.
    fakes::ManagerReport reportOf(const std::wstring& key, bool silent = false) {
        observer.clear();
        manager.updateKey(key, silent);
        const auto reports = observer.reports();
        EXPECT_EQ(reports.size(), 1u);
        return reports.empty() ? fakes::ManagerReport() : reports.front();
    }

    std::shared_ptr<fakes::ScriptedStore> user = makeStore("User", 100);
    std::shared_ptr<fakes::ScriptedStore> server = makeReadOnly("Server", 200);
};

TEST_F(Reports, OfAKeyThatNobodyHoldsAreUndefinedAndEmpty) {
    addQuietly({user, server});
    fakes::ManagerReport expected;
    expected.key = L"domain";
    EXPECT_EQ(reportOf(L"domain"), expected);
}

TEST_F(Reports, CarryTheSilentMark) {
    EXPECT_TRUE(reportOf(L"domain", true).silent);
    EXPECT_FALSE(reportOf(L"domain", false).silent);
}

TEST_F(Reports, OfAWritableValueAloneAreOverriddenWithoutAnOriginal) {
    user->with(L"domain", L"written");
    addQuietly({user, server});
    fakes::ManagerReport expected;
    expected.key = L"domain";
    expected.value = L"written";
    expected.isOverridden = true;
    expected.isDefined = true;
    expected.valueStoreName = L"User";
    EXPECT_EQ(reportOf(L"domain"), expected);
}

TEST_F(Reports, KeepTheSpellingOfTheKeyThatWasGiven) {
    server->with(L"domain", L"server");
    addQuietly({server});
    EXPECT_EQ(reportOf(L"DOMAIN").key, L"DOMAIN");
}

TEST_F(Reports, CarryTheRealValueOfASensitiveKey) {
    server->with(L"password", L"secret");
    addQuietly({server});
    manager.setKeySensitive(L"password");
    EXPECT_EQ(reportOf(L"password").value, L"secret");
}

TEST_F(Reports, OfAnOldNameGoUnderTheCurrentOne) {
    server->with(L"TftpServer1", L"old");
    addQuietly({server});
    const fakes::ManagerReport report = reportOf(L"tftpserver1");
    EXPECT_EQ(report.key, L"TFTPPrimaryServer");
    EXPECT_EQ(report.value, L"old");
    EXPECT_EQ(report.valueStoreName, L"Server");
}

TEST_F(Reports, OfAnOldNameAreDroppedWhileTheCurrentOneHasAValue) {
    server->with(L"TftpServer1", L"old").with(L"TFTPPrimaryServer", L"");
    addQuietly({server});
    manager.updateKey(L"TftpServer1", false);
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(Reports, OfAWritableOldNameOverrideTheReadOnlyOldName) {
    user->with(L"TftpServer1", L"written");
    server->with(L"TftpServer1", L"old");
    addQuietly({user, server});
    const fakes::ManagerReport report = reportOf(L"TFTPPrimaryServer");
    EXPECT_EQ(report.value, L"written");
    EXPECT_EQ(report.originalValue, L"old");
    EXPECT_TRUE(report.isOverridden);
}

TEST_F(Reports, PreferTheOriginalOfTheOwnNameToAValueUnderTheOtherName) {
    // Stores may change between the two lookups behind a report: here the value is still found under the old name, and
    // the original already under the current one.
    user->with(L"TftpServer1", L"written");
    addQuietly({user, server});
    user->onGetValue([&](const std::wstring& key) {
        if (key == L"TftpServer1") {
            user->with(L"TFTPPrimaryServer", L"late");
            server->with(L"TFTPPrimaryServer", L"server");
        }
    });
    fakes::ManagerReport expected;
    expected.key = L"TFTPPrimaryServer";
    expected.value = L"server";
    expected.originalValue = L"server";
    expected.isOverridden = false;
    expected.isDefined = true;
    expected.valueStoreName = L"User";
    expected.originalValueStoreName = L"Server";
    EXPECT_EQ(reportOf(L"TFTPPrimaryServer"), expected);
}

TEST_F(Reports, ArriveInAscendingOrderOfTheObserversAddresses) {
    std::array<fakes::RecordingManagerObserver, 3> observers;
    std::vector<const fakes::RecordingManagerObserver*> order;
    for (auto index : {2u, 0u, 1u}) {
        auto& added = observers[index];
        added.onReport([&](const fakes::ManagerReport&) { order.push_back(&added); });
        manager.AddObserver(&added);
    }
    manager.NotifyFireIfRequired(L"domain");
    EXPECT_THAT(order, ElementsAre(&observers[0], &observers[1], &observers[2]));
    for (auto& added : observers) {
        manager.RemoveObserver(&added);
    }
}

TEST_F(Reports, AreTheSameForAReceiverAsForAnObserverAndReachItInThatOneWay) {
    user->with(L"domain", L"written").with(L"TftpServer1", L"old");
    server->with(L"domain", L"server").with(L"city", L"Rome");
    Receiver receiver;
    manager.AddObserver(&receiver);
    manager.addStore(server);
    manager.addStore(user);
    manager.updateKey(L"DOMAIN", false);
    manager.updateKey(L"missing", true);
    manager.NotifyConfigAddedOrUpdated(L"key", L"value", L"original", true, false, L"store", L"other", true);
    manager.NotifyFireIfRequired(L"key");
    EXPECT_EQ(receiver.taken, observer.reports());
    EXPECT_THAT(receiver.taken, testing::SizeIs(12));
    EXPECT_THAT(receiver.reports(), IsEmpty());
    manager.setKeySensitive(L"domain");
    EXPECT_THAT(receiver.course(), ElementsAre("domain?"));
    manager.RemoveObserver(&receiver);
    manager.NotifyFireIfRequired(L"key");
    EXPECT_THAT(receiver.taken, testing::SizeIs(12));
}

TEST_F(Reports, OfABatchAreExpectedByAReceiverInTheirOrderReportsAndFires) {
    constexpr std::size_t KEYS = 100;
    for (std::size_t index = 0; index < KEYS; ++index) {
        server->with(L"key" + std::to_wstring(index), L"value");
    }
    Receiver receiver;
    manager.AddObserver(&receiver);
    manager.addStore(server);
    EXPECT_EQ(receiver.taken.size(), 2 * KEYS);
    EXPECT_EQ(receiver.expected, 2 * KEYS);
    EXPECT_THAT(receiver.awaited, IsEmpty());
    EXPECT_EQ(receiver.taken, observer.reports());
    manager.notifyObservers(std::vector<std::wstring>());
    manager.updateKey(L"key1", true);
    EXPECT_THAT(receiver.awaited, IsEmpty());
    manager.RemoveObserver(&receiver);
}

TEST_F(Reports, ReachAnObserverOnceHoweverOftenItWasAdded) {
    manager.AddObserver(&observer);
    manager.NotifyFireIfRequired(L"domain");
    EXPECT_THAT(observer.course(), ElementsAre("domain!"));
}

TEST_F(Reports, NoLongerReachARemovedObserver) {
    manager.RemoveObserver(&observer);
    manager.NotifyFireIfRequired(L"domain");
    manager.setKeySensitive(L"domain");
    manager.updateKey(L"domain", false);
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(Reports, SurviveNullObservers) {
    manager.AddObserver(nullptr);
    manager.NotifyFireIfRequired(L"domain");
    manager.RemoveObserver(nullptr);
    EXPECT_THAT(observer.course(), ElementsAre("domain!"));
}

TEST_F(Reports, HandOnTheEightValuesAsGiven) {
    manager.NotifyConfigAddedOrUpdated(L"k", L"v", L"o", true, false, L"vs", L"os", true);
    fakes::ManagerReport expected;
    expected.key = L"k";
    expected.value = L"v";
    expected.originalValue = L"o";
    expected.isOverridden = true;
    expected.isDefined = false;
    expected.valueStoreName = L"vs";
    expected.originalValueStoreName = L"os";
    expected.silent = true;
    EXPECT_THAT(observer.reports(), ElementsAre(expected));
}

TEST_F(Reports, OfABatchAreAllSilentBeforeTheFirstFires) {
    server->with(L"b", L"2").with(L"a", L"1");
    addQuietly({server});
    manager.notifyObservers(std::vector<std::wstring>{L"b", L"a"});
    EXPECT_THAT(observer.course(), ElementsAre("~b=2", "~a=1", "b!", "a!"));
}

TEST_F(Reports, OfABatchFireAnOldNameUnderTheCurrentOne) {
    server->with(L"TftpServer1", L"old");
    addQuietly({server});
    manager.notifyObservers(std::vector<std::wstring>{L"TftpServer1"});
    EXPECT_THAT(observer.course(), ElementsAre("~TFTPPrimaryServer=old", "TFTPPrimaryServer!"));
}

TEST_F(Reports, OfABatchLeaveOutAnOldNameWhoseCurrentOneHasAValue) {
    server->with(L"TftpServer1", L"old").with(L"TFTPPrimaryServer", L"current");
    addQuietly({server});
    manager.notifyObservers(std::vector<std::wstring>{L"TftpServer1"});
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(Reports, OfAStoreAreThoseOfItsKeysInItsOrder) {
    server->with(L"b", L"2").with(L"a", L"1");
    addQuietly({server});
    manager.notifyObservers(std::shared_ptr<ConfigStore>(server));
    EXPECT_THAT(observer.course(), ElementsAre("~a=1", "~b=2", "a!", "b!"));
}

TEST_F(Reports, OfNoStoreAreNone) {
    manager.notifyObservers(std::shared_ptr<ConfigStore>());
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(Reports, OfASensitiveKeyGoToEveryObserverAndTouchNoStore) {
    fakes::RecordingManagerObserver other;
    manager.AddObserver(&other);
    addQuietly({server});
    manager.setKeySensitive(L"password");
    EXPECT_THAT(observer.course(), ElementsAre("password?"));
    EXPECT_THAT(other.course(), ElementsAre("password?"));
    EXPECT_THAT(server->lookups(), IsEmpty());
    manager.RemoveObserver(&other);
}

TEST_F(Reports, OfASensitiveKeyComeAgainAtEachMark) {
    manager.setKeySensitive(L"password");
    manager.setKeySensitive(L"PASSWORD");
    EXPECT_THAT(observer.course(), ElementsAre("password?", "PASSWORD?"));
}

TEST_F(Reports, KeepPeerToPeerCallingOffUnderFips) {
    user->with(L"Telephony_P2P_Enabled", L"true");
    addQuietly({user});
    world.setFips(true);
    EXPECT_EQ(reportOf(L"Telephony_P2P_Enabled").value, L"false");
    EXPECT_TRUE(reportOf(L"Telephony_P2P_Enabled").isDefined);
}

}  // namespace
