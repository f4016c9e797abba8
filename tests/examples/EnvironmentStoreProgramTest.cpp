#include <gtest/gtest.h>

#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

TEST(EnvironmentStoreProgram, ShowsTheStoreJoinLoseAndLeave) {
    const fakes::TemporaryDirectory directory;
    const support::Ended ended = support::runProgram({ENVIRONMENT_STORE_PROGRAM, directory.path()},
                                                     {.environment = {{"CORVID_ServicesDomain", "example.org"}}});
    EXPECT_EQ(ended.out, "ServicesDomain is \"example.org\" from [EnvironmentStore]\n"
                         "the user's \"example.com\" hides \"example.org\" from [EnvironmentStore]\n"
                         "without the store nobody hides: \"\"\n");
    EXPECT_EQ(ended.status, 0);
}

TEST(EnvironmentStoreProgram, TellsItsUsage) {
    const support::Ended ended = support::runProgram({ENVIRONMENT_STORE_PROGRAM});
    EXPECT_EQ(ended.error, "usage: environment-store CONFIGURATION-DIRECTORY\n");
    EXPECT_EQ(ended.status, 2);
}
