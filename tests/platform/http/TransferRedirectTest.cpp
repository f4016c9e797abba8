#include <chrono>
#include <string>

#include "Download.h"
#include "fakes/ScriptedServer.h"
#include "impl/http/CurlTransport.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;

namespace {

/// Redirects "/3" to "/2" and so on; "/0" is the file.
void countDown(ScriptedConnection& client) {
    const int left = std::stoi(client.target().substr(1));
    left == 0 ? client.respond(200, "<Corvid/>") : client.redirect("/" + std::to_string(left - 1));
}

class TransferRedirect : public testing::Test {
protected:
    /// Where the first answer of a server leads to; everything else there is the file.
    Ended followOnce(const std::string& location, int status = 302) {
        ScriptedServer server([&](ScriptedConnection& client) {
            client.target() == "/file.xml" ? client.redirect(location, status) : client.respond(200, client.target());
        });
        const Ended ended = download(transport, server.url("/file.xml"));
        requests = server.requests().size();
        return ended;
    }

    platform::CurlTransport transport{""};
    std::size_t requests = 0;
};

}  // namespace

TEST_F(TransferRedirect, IsFollowedToAnotherPathOfTheServer) {
    for (const int status : {301, 302, 303, 307, 308}) {
        const Ended ended = followOnce("/other.xml", status);
        EXPECT_EQ(ended.result, Success) << status;
        EXPECT_EQ(ended.body, "/other.xml") << status;
    }
}

TEST_F(TransferRedirect, IsFollowedOnAConnectionThatStaysOpen) {
    ScriptedServer server([](ScriptedConnection& client) {
        client.keepOpen();
        countDown(client);
    });
    EXPECT_EQ(download(transport, server.url("/3")).body, "<Corvid/>");
}

TEST_F(TransferRedirect, IsFollowedToTheWholeUrlOfTheServer) {
    ScriptedServer server([&server](ScriptedConnection& client) {
        client.target() == "/a" ? client.redirect(server.url("/b")) : client.respond(200, "<Corvid/>");
    });
    EXPECT_EQ(download(transport, server.url("/a")).result, Success);
}

TEST_F(TransferRedirect, IsFollowedToTheHostInAnotherCase) {
    ScriptedServer server([&server](ScriptedConnection& client) {
        client.target() == "/a" ? client.redirect("HTTP://LOCALHOST:" + std::to_string(server.port()) + "/b")
                                : client.respond(200, "<Corvid/>");
    });
    EXPECT_EQ(download(transport, "http://localhost:" + std::to_string(server.port()) + "/a").result, Success);
}

TEST_F(TransferRedirect, IsFollowedThreeTimes) {
    ScriptedServer server(countDown);
    const Ended ended = download(transport, server.url("/3"));
    EXPECT_EQ(ended.result, Success);
    EXPECT_EQ(ended.body, "<Corvid/>");
}

TEST_F(TransferRedirect, IsRefusedTheFourthTime) {
    ScriptedServer server(countDown);
    const Ended ended = download(transport, server.url("/4"));
    EXPECT_EQ(ended.result, RedirectRefused);
    EXPECT_EQ(ended.body, "");
    EXPECT_EQ(server.requests().size(), 4U);
}

TEST_F(TransferRedirect, IsRefusedInALoop) {
    ScriptedServer server([](ScriptedConnection& client) { client.redirect(client.target()); });
    EXPECT_EQ(download(transport, server.url("/file.xml")).result, RedirectRefused);
    EXPECT_EQ(server.requests().size(), 4U);
}

TEST_F(TransferRedirect, IsRefusedToAnotherPort) {
    ScriptedServer other([](ScriptedConnection& client) { client.respond(200, "<Corvid/>"); });
    EXPECT_EQ(followOnce(other.url("/file.xml")).result, RedirectRefused);
    EXPECT_EQ(other.connections(), 0U);
}

TEST_F(TransferRedirect, IsRefusedToAnotherHostOfTheSamePort) {
    ScriptedServer::Options elsewhere;
    elsewhere.address = "127.0.0.2";
    ScriptedServer other([](ScriptedConnection& client) { client.respond(200, "<Corvid/>"); }, elsewhere);
    ScriptedServer::Options here;
    here.port = other.port();
    ScriptedServer server([&](ScriptedConnection& client) { client.redirect(other.url("/file.xml")); }, here);
    EXPECT_EQ(download(transport, server.url("/file.xml")).result, RedirectRefused);
    EXPECT_EQ(other.connections(), 0U);
}

TEST_F(TransferRedirect, IsRefusedToAnotherScheme) {
    for (const char* const location : {"https://127.0.0.1/", "ftp://127.0.0.1/", "file:///etc/passwd", "mailto:a@b"}) {
        EXPECT_EQ(followOnce(location).result, RedirectRefused) << location;
        EXPECT_EQ(requests, 1U) << location;
    }
}

TEST_F(TransferRedirect, IsRefusedToWhatIsNoUrl) {
    EXPECT_EQ(followOnce("http://").result, RedirectRefused);
    EXPECT_EQ(followOnce("http://127.0.0.1:99999/").result, RedirectRefused);
}

TEST_F(TransferRedirect, WithoutALocationIsARefusal) {
    ScriptedServer server([](ScriptedConnection& client) { client.respond(302, "moved"); });
    EXPECT_EQ(download(transport, server.url("/file.xml")).result, StatusRefused);
}

TEST_F(TransferRedirect, LosesItsOwnBody) {
    ScriptedServer server([](ScriptedConnection& client) {
        if (client.target() == "/a") {
            client.respond(302, "moved", "Location: /b\r\n");
        } else {
            client.respond(200, "<Corvid/>");
        }
    });
    EXPECT_EQ(download(transport, server.url("/a")).body, "<Corvid/>");
}

TEST_F(TransferRedirect, NeedsNoEndOfItsBody) {
    ScriptedServer server([](ScriptedConnection& client) {
        if (client.target() == "/a") {
            client.send("HTTP/1.1 302 Found\r\nLocation: /b\r\n\r\n");
            client.waitUntilClientLeaves();
        } else {
            client.respond(200, "<Corvid/>");
        }
    });
    EXPECT_EQ(download(transport, server.url("/a")).body, "<Corvid/>");
}

TEST_F(TransferRedirect, GivesNoMoreTime) {
    ScriptedServer server([](ScriptedConnection& client) {
        client.pause(std::chrono::milliseconds(600));  // each is in time, all are not
        countDown(client);
    });
    EXPECT_EQ(download(transport, server.url("/3"), 1).result, TimedOut);
}

TEST_F(TransferRedirect, TakesNoCookiesAlong) {
    ScriptedServer server([](ScriptedConnection& client) {
        if (client.target() == "/a") {
            client.respond(302, "", "Location: /b\r\nSet-Cookie: id=1\r\n");
        } else {
            client.respond(200, "<Corvid/>");
        }
    });
    EXPECT_EQ(download(transport, server.url("/a")).result, Success);
    EXPECT_THAT(server.requests().at(1), testing::Not(testing::HasSubstr("Cookie")));
}
