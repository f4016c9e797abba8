#include "DataResets.h"

#include "fakes/ScriptedStore.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::shared_ptr<ConfigStore> store() { return std::make_shared<fakes::ScriptedStore>("Outside", 45); }

}  // namespace

TEST(DataResets, LetAStoreBeCachedThatJoinsWhileNoneIsUnderWay) {
    DataResets resets;
    EXPECT_TRUE(resets.mayBeCached(resets.noteJoin(store())));
    resets.begin();
    EXPECT_THAT(resets.end(), IsEmpty());
    EXPECT_TRUE(resets.mayBeCached(resets.noteJoin(store())));
}

TEST(DataResets, StandAgainstAStoreThatHasJoinedBefore) {
    DataResets resets;
    const unsigned joined = resets.noteJoin(store());
    resets.begin();
    EXPECT_FALSE(resets.mayBeCached(joined));
    resets.end();
    EXPECT_FALSE(resets.mayBeCached(joined));
}

TEST(DataResets, KeepAStoreThatJoinsMeanwhileForTheEnd) {
    DataResets resets;
    const auto first = store();
    const auto second = store();
    resets.begin();
    const unsigned joined = resets.noteJoin(first);
    resets.noteJoin(second);
    EXPECT_FALSE(resets.mayBeCached(joined));
    EXPECT_THAT(resets.end(), ElementsAre(first, second));
    EXPECT_FALSE(resets.mayBeCached(joined));
    EXPECT_TRUE(resets.mayBeCached(resets.now()));
    resets.begin();
    EXPECT_THAT(resets.end(), IsEmpty());
}

TEST(DataResets, CountOneThatWasLeftWithoutAnEndAsOver) {
    DataResets resets;
    resets.begin();
    const unsigned joined = resets.noteJoin(store());
    resets.begin();
    EXPECT_FALSE(resets.mayBeCached(joined));
    EXPECT_FALSE(resets.mayBeCached(resets.now()));
    resets.end();
    EXPECT_TRUE(resets.mayBeCached(resets.now()));
}
