#include "inspecting/WriteRemarks.h"

#include <gmock/gmock.h>

using namespace corvidctl;
using testing::ElementsAre;

namespace {

UserWriteView goodWrite() {
    UserWriteView view;
    view.after.key = "Key";
    view.after.value = "text";
    view.after.valueStoreName = "Mine";
    view.storedIn = "Mine";
    view.readsAsGiven = true;
    view.isPersisted = true;
    return view;
}

}  // namespace

TEST(WriteRemarks, AreNoneWhereAllIsWell) {
    EXPECT_THAT(remarksOn(goodWrite(), "config", false), testing::IsEmpty());
    UserWriteView erasure = goodWrite();
    erasure.isErasure = true;
    erasure.after.valueStoreName = "Other";
    EXPECT_THAT(remarksOn(erasure, "config", false), testing::IsEmpty());
}

TEST(WriteRemarks, TellWhatStillWins) {
    UserWriteView view = goodWrite();
    view.readsAsGiven = false;
    EXPECT_THAT(remarksOn(view, "config", false), ElementsAre("It still reads as \"text\"."));
    view.after.valueStoreName = "Other";
    EXPECT_THAT(remarksOn(view, "config", false), ElementsAre("Other still wins, with \"text\"."));
    view.isTaken = false;
    EXPECT_THAT(remarksOn(view, "config", false), ElementsAre("No writable store took Key."));
}

TEST(WriteRemarks, TellThatTheCurrentNameComesFirst) {
    UserWriteView view = goodWrite();
    view.isUnderOldName = true;
    EXPECT_THAT(remarksOn(view, "config", false), testing::IsEmpty());
    view.readsAsGiven = false;
    EXPECT_THAT(remarksOn(view, "config", false),
                ElementsAre("It still reads as \"text\".", "What the store holds under Key comes first."));
}

TEST(WriteRemarks, TellWhatAPolicyErases) {
    UserWriteView view = goodWrite();
    view.erasedBy = "Policy is \"false\", from Store";
    view.erases = {"A", "B"};
    EXPECT_THAT(remarksOn(view, "config", false),
                ElementsAre("The client erases it when it starts: Policy is \"false\", from Store.",
                            "The client erases A, B when it starts, since Key is \"text\"."));
}

TEST(WriteRemarks, TellWhatXmlCannotHold) {
    UserWriteView view = goodWrite();
    view.isKeyWhole = false;
    view.onDiskKey = "K\uFFFD";
    view.isValueWhole = false;
    view.onDiskValue = "t\uFFFD";
    EXPECT_THAT(remarksOn(view, "config", false),
                ElementsAre("XML cannot hold every character of the key; on disk it is \"K\uFFFD\".",
                            "XML cannot hold every character of the value; on disk it is \"t\uFFFD\"."));
    view.isKeyWhole = true;
    view.after.isSensitive = true;
    EXPECT_THAT(remarksOn(view, "config", false),
                ElementsAre("XML cannot hold every character of the value; on disk U+FFFD stands for them."));
}

TEST(WriteRemarks, TellWhatIsNotOnDisk) {
    UserWriteView view = goodWrite();
    view.isPersisted = false;
    EXPECT_THAT(remarksOn(view, "config", false), ElementsAre("Key could not be written to config."));
    view.whyNotPersisted = "No space left on device";
    view.isErasure = true;
    EXPECT_THAT(remarksOn(view, "config", false),
                ElementsAre("Key could not be removed from config: No space left on device."));
}
