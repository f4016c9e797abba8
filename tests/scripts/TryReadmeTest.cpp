#include <gtest/gtest.h>

#include "support/ChildProcess.h"

TEST(TryReadme, SaysWhatItTakes) {
    const std::string script = std::string(CORVID_SOURCE_DIRECTORY).append("/scripts/try-readme");
    const support::Ended ended = support::runProgram({script, "slow"});
    EXPECT_EQ(ended.error, "try-readme: unknown argument 'slow', expected run, quick or full\n");
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.status, 2);
}
