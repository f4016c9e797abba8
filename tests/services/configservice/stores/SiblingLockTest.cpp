#include "xml/SiblingLock.h"

#include "StoreTestSupport.h"

namespace storetests {
namespace {

class SiblingLocking : public StoreTest {};

TEST_F(SiblingLocking, SaysNothingOfAFolderThatIsNotThere) {
    const SiblingLock lock(path("missing"));
    EXPECT_THAT(log_->lines(), testing::IsEmpty());
}

}  // namespace
}  // namespace storetests
