// An administrator's file that forbids servers of the user's own.

#include "Expectations.h"
#include "Servers.h"
#include "quill/StringUtils.h"

using callcontrol::CertificateAuthority;
using namespace integration;
using QuillCoreUtils::toWideString;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A user's own server, with a file that forbids it.
class Policy : public testing::Test {
protected:
    Policy() { usersServer_.serve({{"origin", "users"}, {"Customize_Phone_Server", "false"}}); }

    void fetchFromTheUsersServer(Client& client) const {
        client.start();
        client.set(L"TFTPPrimaryServer", toWideString(usersServer_.address()));
        client.fetch();
    }

    const CertificateAuthority authority_;
    const Server usersServer_{authority_};
};

}  // namespace

TEST_F(Policy, MovesTheClientToTheAdministratorsServer) {
    const Server administrators(authority_);
    administrators.serve({{"origin", "administrators"}});
    Client client({.servers = {administrators.address()}, .version = "12", .trusted = authority_.certificate()});
    fetchFromTheUsersServer(client);
    const auto cycles = client.journal()->snapshot().cycles;
    ASSERT_EQ(cycles.size(), 2U);
    EXPECT_THAT(cycles[0].attempts, ElementsAre(delivered(usersServer_.address())));
    EXPECT_THAT(cycles[1].attempts, ElementsAre(delivered(administrators.address())));
    EXPECT_EQ(client.log().count(5, "Allowing download. Reason: This tftp server 1 address (" +
                                        administrators.address() +
                                        ") is different to the last successful tftp server 1 (" +
                                        usersServer_.address() + ") already address used."),
              1U);
    EXPECT_EQ(client.value(L"TFTPPrimaryServer"), toWideString(administrators.address()));
    EXPECT_EQ(client.value(L"origin"), L"administrators");
}

TEST_F(Policy, LeavesAClientWithoutAnotherServerWithNothing) {
    Client client({.version = "12", .trusted = authority_.certificate()});
    fetchFromTheUsersServer(client);
    const auto cycles = client.journal()->snapshot().cycles;
    ASSERT_EQ(cycles.size(), 2U);
    EXPECT_EQ(cycles[0].end, CycleEnd::Delivered);
    EXPECT_EQ(cycles[1].end, CycleEnd::Exhausted);
    EXPECT_THAT(cycles[1].attempts, IsEmpty());
    EXPECT_EQ(client.log().count(3, QUEUE_EMPTY_LINE), 1U);
    EXPECT_EQ(client.value(L"TFTPPrimaryServer"), L"");
    EXPECT_EQ(client.value(L"origin"), L"");
}
