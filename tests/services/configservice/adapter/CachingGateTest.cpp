#include "CachingGate.h"

#include "fakes/ScriptedStore.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::shared_ptr<ConfigStore> store(const std::string& name = "Outside") {
    return std::make_shared<fakes::ScriptedStore>(name, 45);
}

}  // namespace

TEST(CachingGate, LetsAStoreBeCachedThatJoinsWhileNoResetIsUnderWay) {
    CachingGate gate;
    EXPECT_TRUE(gate.noteJoin(store())->isGiven());
    gate.beginReset();
    EXPECT_THAT(gate.endReset(), IsEmpty());
    EXPECT_TRUE(gate.noteJoin(store())->isGiven());
}

TEST(CachingGate, StandsAgainstAStoreThatHasJoinedBeforeAReset) {
    CachingGate gate;
    const auto joined = gate.noteJoin(store());
    gate.beginReset();
    EXPECT_FALSE(joined->isGiven());
    gate.endReset();
    EXPECT_FALSE(joined->isGiven());
}

TEST(CachingGate, KeepsAStoreThatJoinsDuringAResetForItsEnd) {
    CachingGate gate;
    const auto first = store();
    const auto second = store();
    gate.beginReset();
    const auto joined = gate.noteJoin(first);
    gate.noteJoin(second);
    EXPECT_FALSE(joined->isGiven());
    EXPECT_THAT(gate.endReset(), ElementsAre(first, second));
    EXPECT_FALSE(joined->isGiven());
    EXPECT_TRUE(gate.noteJoin(first)->isGiven());
    gate.beginReset();
    EXPECT_THAT(gate.endReset(), IsEmpty());
}

TEST(CachingGate, CountsAResetThatWasLeftWithoutAnEndAsOver) {
    CachingGate gate;
    gate.beginReset();
    const auto joined = gate.noteJoin(store());
    gate.beginReset();
    EXPECT_FALSE(joined->isGiven());
    EXPECT_FALSE(gate.noteJoin(store())->isGiven());
    gate.endReset();
    EXPECT_TRUE(gate.noteJoin(store())->isGiven());
}

TEST(CachingGate, StandsAgainstTheStoreThatIsRemovedAlone) {
    CachingGate gate;
    const auto other = gate.noteJoin(store("Other"));
    const auto removed = gate.noteJoin(store());
    gate.noteRemoval("outSIDE");
    EXPECT_FALSE(removed->isGiven());
    EXPECT_TRUE(other->isGiven());
    EXPECT_TRUE(gate.noteJoin(store())->isGiven());
}

TEST(CachingGate, StandsAgainstTheStoreWhosePlaceAnotherOneTakes) {
    CachingGate gate;
    const auto other = gate.noteJoin(store("Other"));
    const auto replaced = gate.noteJoin(store());
    const auto next = gate.noteJoin(store("OUTSIDE"));
    EXPECT_FALSE(replaced->isGiven());
    EXPECT_TRUE(next->isGiven());
    EXPECT_TRUE(other->isGiven());
}
