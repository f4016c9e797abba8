#include "CachingGate.h"

#include "fakes/ScriptedStore.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::shared_ptr<ConfigStore> store() { return std::make_shared<fakes::ScriptedStore>("Outside", 45); }

}  // namespace

TEST(CachingGate, LetsAStoreBeCachedThatJoinsWhileNoResetIsUnderWay) {
    CachingGate gate;
    EXPECT_TRUE(gate.mayBeCached(gate.noteJoin(store())));
    gate.beginReset();
    EXPECT_THAT(gate.endReset(), IsEmpty());
    EXPECT_TRUE(gate.mayBeCached(gate.noteJoin(store())));
}

TEST(CachingGate, StandsAgainstAStoreThatHasJoinedBeforeAReset) {
    CachingGate gate;
    const unsigned joined = gate.noteJoin(store());
    gate.beginReset();
    EXPECT_FALSE(gate.mayBeCached(joined));
    gate.endReset();
    EXPECT_FALSE(gate.mayBeCached(joined));
}

TEST(CachingGate, KeepsAStoreThatJoinsDuringAResetForItsEnd) {
    CachingGate gate;
    const auto first = store();
    const auto second = store();
    gate.beginReset();
    const unsigned joined = gate.noteJoin(first);
    gate.noteJoin(second);
    EXPECT_FALSE(gate.mayBeCached(joined));
    EXPECT_THAT(gate.endReset(), ElementsAre(first, second));
    EXPECT_FALSE(gate.mayBeCached(joined));
    EXPECT_TRUE(gate.mayBeCached(gate.now()));
    gate.beginReset();
    EXPECT_THAT(gate.endReset(), IsEmpty());
}

TEST(CachingGate, CountsAResetThatWasLeftWithoutAnEndAsOver) {
    CachingGate gate;
    gate.beginReset();
    const unsigned joined = gate.noteJoin(store());
    gate.beginReset();
    EXPECT_FALSE(gate.mayBeCached(joined));
    EXPECT_FALSE(gate.mayBeCached(gate.now()));
    gate.endReset();
    EXPECT_TRUE(gate.mayBeCached(gate.now()));
}
