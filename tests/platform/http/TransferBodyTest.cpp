#include <memory>
#include <string>

#include "Download.h"
#include "fakes/ScriptedServer.h"
#include "impl/http/BodyBuffer.h"
#include "impl/http/CurlTransport.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;

namespace {

const std::string CHUNKED_HEAD = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

std::string headWithLength(const std::string& length) {
    return "HTTP/1.1 200 OK\r\nContent-Length: " + length + "\r\n\r\n";
}

class TransferBody : public testing::Test {
protected:
    Ended downloadFrom(const ScriptedServer::Script& script, long timeout = 60) {
        ScriptedServer server(script);
        return download(transport, server.url("/file.xml"), timeout);
    }

    platform::CurlTransport transport{""};
};

}  // namespace

TEST_F(TransferBody, ArrivesAsItWasSent) {
    const std::string sent("one\0two\r\n\xff", 10);
    const Ended ended = downloadFrom([&](ScriptedConnection& client) { client.respond(200, sent); });
    EXPECT_EQ(ended.result, Success);
    EXPECT_EQ(ended.body, sent);
}

TEST_F(TransferBody, MustNotBeEmpty) {
    for (const std::string answer :
         {"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n", "HTTP/1.1 200 OK\r\n\r\n",
          "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", "HTTP/1.1 204 No Content\r\n\r\n",
          "HTTP/1.1 204 No Content\r\nContent-Length: 9\r\n\r\n"}) {
        const Ended ended = downloadFrom([&](ScriptedConnection& client) { client.send(answer); });
        EXPECT_EQ(ended.result, BodyEmpty) << answer;
    }
}

TEST_F(TransferBody, IsEmptyAtOnceIfTheHeadSaysSo) {
    const Ended ended = downloadFrom([](ScriptedConnection& client) {
        client.respond(200, "");
        client.waitUntilClientLeaves();
    });
    EXPECT_EQ(ended.result, BodyEmpty);
}

TEST_F(TransferBody, MayHaveNoStatedLength) {
    const Ended ended =
        downloadFrom([](ScriptedConnection& client) { client.send("HTTP/1.1 200 OK\r\n\r\n<Corvid/>"); });
    EXPECT_EQ(ended.result, Success);
    EXPECT_EQ(ended.body, "<Corvid/>");
}

TEST_F(TransferBody, MayComeInChunks) {
    const Ended ended = downloadFrom(
        [](ScriptedConnection& client) { client.send(CHUNKED_HEAD + "3\r\none\r\n4\r\n two\r\n0\r\n\r\n"); });
    EXPECT_EQ(ended.result, Success);
    EXPECT_EQ(ended.body, "one two");
}

TEST_F(TransferBody, MayComeByteByByte) {
    const Ended ended = downloadFrom([](ScriptedConnection& client) {
        client.sendSlowly(headWithLength("9") + "<Corvid/>", std::chrono::milliseconds(1));
    });
    EXPECT_EQ(ended.result, Success);
    EXPECT_EQ(ended.body, "<Corvid/>");
}

TEST_F(TransferBody, MayHaveSixteenMebibytes) {
    const std::string sent(16 * 1024 * 1024, 'x');
    const Ended ended = downloadFrom([&](ScriptedConnection& client) { client.respond(200, sent); });
    EXPECT_EQ(ended.result, Success);
    EXPECT_TRUE(ended.body == sent);
}

TEST_F(TransferBody, MayHaveSixteenMebibytesWithoutAStatedLength) {
    std::string sent = "<a>";
    sent.append(16 * 1024 * 1024 - 7, 'x').append("</a>");
    const Ended ended =
        downloadFrom([&](ScriptedConnection& client) { client.send("HTTP/1.1 200 OK\r\n\r\n" + sent); });
    EXPECT_EQ(ended.result, Success);
    EXPECT_TRUE(ended.body == sent);
}

TEST_F(TransferBody, MustNotHaveOneByteMore) {
    const Ended ended = downloadFrom([&](ScriptedConnection& client) {
        client.send("HTTP/1.1 200 OK\r\n\r\n" + std::string(16 * 1024 * 1024 + 1, 'x'));
    });
    EXPECT_EQ(ended.result, BodyTooLarge);
    EXPECT_EQ(ended.body, "");
}

TEST_F(TransferBody, IsRefusedByTheLengthThatItStates) {
    const Ended ended = downloadFrom([](ScriptedConnection& client) {
        client.send(headWithLength("16777217"));
        client.waitUntilClientLeaves();
    });
    EXPECT_EQ(ended.result, BodyTooLarge);
}

TEST_F(TransferBody, IsRefusedByALengthThatNoNumberHolds) {
    const Ended ended = downloadFrom([](ScriptedConnection& client) {
        client.send(headWithLength("99999999999999999999999999"));
        client.waitUntilClientLeaves();
    });
    EXPECT_EQ(ended.result, BodyTooLarge);
}

TEST_F(TransferBody, IsRefusedWhenItNeverEnds) {
    const Ended ended = downloadFrom([](ScriptedConnection& client) {
        client.send("HTTP/1.1 200 OK\r\n\r\n");
        while (client.send(std::string(65536, 'x'))) {
        }
    });
    EXPECT_EQ(ended.result, BodyTooLarge);
}

TEST_F(TransferBody, IsCutWhenTheConnectionEndsBeforeTheStatedLength) {
    const Ended ended =
        downloadFrom([](ScriptedConnection& client) { client.send(headWithLength("100") + "<Corvid>"); });
    EXPECT_EQ(ended.result, BodyCut);
    EXPECT_EQ(ended.body, "");
}

TEST_F(TransferBody, IsCutWhenTheConnectionEndsRightAfterTheHead) {
    const Ended ended = downloadFrom([](ScriptedConnection& client) { client.send(headWithLength("100")); });
    EXPECT_EQ(ended.result, BodyCut);
}

TEST_F(TransferBody, IsCutWhenTheLastChunkIsMissing) {
    const Ended ended =
        downloadFrom([](ScriptedConnection& client) { client.send(CHUNKED_HEAD + "8\r\n<Corvid>\r\n"); });
    EXPECT_EQ(ended.result, BodyCut);
}

TEST_F(TransferBody, IsCutByAChunkWithoutALength) {
    const Ended ended =
        downloadFrom([](ScriptedConnection& client) { client.send(CHUNKED_HEAD + "8\r\n<Corvid>\r\nzz\r\nabc"); });
    EXPECT_EQ(ended.result, BodyCut);
}

TEST_F(TransferBody, EndsWithTheStreamThoughTheServerStillListens) {
    const Ended ended = downloadFrom([](ScriptedConnection& client) {
        client.send("HTTP/1.1 200 OK\r\n\r\n<Corvid/>");
        client.halfClose();
        client.waitUntilClientLeaves();
    });
    EXPECT_EQ(ended.result, Success);
    EXPECT_EQ(ended.body, "<Corvid/>");
}

TEST_F(TransferBody, IsCutByTheEndOfTheStreamThoughTheServerStillListens) {
    const Ended ended = downloadFrom([](ScriptedConnection& client) {
        client.send(headWithLength("100") + "<Corvid>");
        client.halfClose();
        client.waitUntilClientLeaves();
    });
    EXPECT_EQ(ended.result, BodyCut);
}

TEST_F(TransferBody, IsCutByTheEndOfAConnectionThatLeavesADocumentOpen) {
    const std::string whole = "<config><group><a>1</a></group></config>";
    for (std::size_t size = 1; size < whole.size(); ++size) {
        const Ended ended = downloadFrom(
            [&](ScriptedConnection& client) { client.send("HTTP/1.1 200 OK\r\n\r\n" + whole.substr(0, size)); });
        EXPECT_EQ(ended.result, BodyCut) << size;
        EXPECT_EQ(ended.body, "") << size;
    }
}

TEST_F(TransferBody, IsRefusedIfItIsLongerThanItStates) {
    const Ended ended =
        downloadFrom([](ScriptedConnection& client) { client.send(headWithLength("9") + "<Corvid/>!"); });
    EXPECT_EQ(ended.result, BodyOverrun);
    EXPECT_EQ(ended.body, "");
}

TEST_F(TransferBody, IsRefusedIfMoreThanABufferIsLongerThanItStates) {
    const std::string sent(1024 * 1024, 'x');
    const Ended ended = downloadFrom(
        [&](ScriptedConnection& client) { client.send(headWithLength(std::to_string(sent.size() - 1)) + sent); });
    EXPECT_EQ(ended.result, BodyOverrun);
}

TEST_F(TransferBody, EndsWithItsStatedLengthThoughTheConnectionDoesNot) {
    const Ended ended = downloadFrom([](ScriptedConnection& client) {
        client.respond(200, "<Corvid>");
        client.waitUntilClientLeaves();
    });
    EXPECT_EQ(ended.result, Success);
    EXPECT_EQ(ended.body, "<Corvid>");
}

TEST_F(TransferBody, HasNoTwoLengthsAndNoneThatIsNoNumber) {
    for (const char* const length : {"9\r\nContent-Length: 10", "9, 10", "nine", "-9", "9x", "+9", ""}) {
        const Ended ended =
            downloadFrom([&](ScriptedConnection& client) { client.send(headWithLength(length) + "<Corvid/>"); });
        EXPECT_EQ(ended.result, Failed) << length;
    }
}

TEST_F(TransferBody, MayStateItsLengthTwice) {
    const Ended ended = downloadFrom(
        [](ScriptedConnection& client) { client.send(headWithLength("9\r\nContent-Length: 9") + "<Corvid/>"); });
    EXPECT_EQ(ended.result, Success);
}

TEST_F(TransferBody, IsRefusedIfItIsCompressedUnasked) {
    for (const std::string field : {"Content-Encoding: gzip", "content-encoding: br", "Content-Encoding: identity, x",
                                    "Transfer-Encoding: gzip, chunked", "Transfer-Encoding: deflate"}) {
        const Ended ended =
            downloadFrom([&](ScriptedConnection& client) { client.respond(200, "<Corvid/>", field + "\r\n"); });
        EXPECT_EQ(ended.result, BodyCoded) << field;
    }
}

TEST_F(TransferBody, IsRefusedIfItIsCompressedAndNobodySaysSo) {
    const std::string packed("\x1f\x8b\x08\0rest", 8);
    for (const std::string& answer :
         {headWithLength("8") + packed, CHUNKED_HEAD + "8\r\n" + packed + "\r\n0\r\n\r\n",
          CHUNKED_HEAD + "1\r\n\x1f\r\n7\r\n" + packed.substr(1) + "\r\n0\r\n\r\n", "HTTP/1.1 200 OK\r\n\r\n" + packed,
          headWithLength("8\r\nContent-Encoding: identity") + packed}) {
        const Ended ended = downloadFrom([&](ScriptedConnection& client) { client.send(answer); });
        EXPECT_EQ(ended.result, BodyCoded) << testing::PrintToString(answer);
        EXPECT_EQ(ended.body, "");
    }
}

TEST_F(TransferBody, IsNotTakenForCompressedByLessThanAllOfTheMark) {
    for (const std::string body : {"\x1f", "\x1f\x8b", "\x1f\x8b\x07<Corvid/>", " \x1f\x8b\x08"}) {
        const Ended ended = downloadFrom([&](ScriptedConnection& client) { client.respond(200, body); });
        EXPECT_EQ(ended.result, Success) << testing::PrintToString(body);
        EXPECT_EQ(ended.body, body);
    }
}

TEST_F(TransferBody, MaySayThatItIsNotCompressed) {
    const Ended ended = downloadFrom(
        [](ScriptedConnection& client) { client.respond(200, "<Corvid/>", "Content-Encoding: identity\r\n"); });
    EXPECT_EQ(ended.result, Success);
}

TEST_F(TransferBody, TellsEachPieceOnItsWayAndItsStatedSize) {
    ScriptedServer server([](ScriptedConnection& client) { client.respond(200, "<Corvid/>"); });
    std::vector<std::pair<double, double>> told;
    Download download;
    transport.start(download.transfer(server.url(), 1, 60,
                                      [&](double total, double arrived) { told.emplace_back(total, arrived); }));
    EXPECT_EQ(download.end().result, Success);
    transport.stop();
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.back(), std::make_pair(9.0, 9.0));
}

TEST_F(TransferBody, IsCutByAReset) {
    std::promise<void> arrived;
    ScriptedServer server([&](ScriptedConnection& client) {
        client.send(headWithLength("100") + "<Corvid>");
        arrived.get_future().wait();  // a reset overtakes what the client has not read yet
        client.reset();
    });
    Download download;
    const auto progress = [&, once = false](double, double bytes) mutable {
        if (bytes > 0 && !std::exchange(once, true)) {
            arrived.set_value();
        }
    };
    transport.start(download.transfer(server.url(), 1, 60, progress));
    EXPECT_EQ(download.end().result, BodyCut);
}
