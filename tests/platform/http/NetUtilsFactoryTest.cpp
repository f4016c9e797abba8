#include "http/NetUtilsFactory.h"

#include <memory>
#include <string>

#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedHttpTransport.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using testing::ElementsAre;

namespace {

class NetUtilsFactoryTest : public testing::Test {
protected:
    void giveTransport() {
        world.change([this](platform::World& changed) { changed.httpTransport = transport; });
    }

    fakes::ScopedWorld world;
    const std::shared_ptr<fakes::ScriptedHttpTransport> transport = std::make_shared<fakes::ScriptedHttpTransport>();
    const std::shared_ptr<tessel::http::BasicHttpClient> client =
        tessel::netutils::NetUtilsFactory().createBasicHttpClient();
    const std::shared_ptr<tessel::http::Request> request =
        std::make_shared<tessel::http::Request>("https://server:8443/version");
    tessel::http::Response response;
};

}  // namespace

TEST_F(NetUtilsFactoryTest, MakesAClientThatSendsOverTheTransportOfTheMoment) {
    transport->setAnswer([](const std::string&) { return "<version/>"; });
    giveTransport();
    request->getOptions()->requestTimeout = 10000;
    EXPECT_EQ(client->send(request, response), Success);
    EXPECT_EQ(response.getBody(), "<version/>");
    EXPECT_EQ(response.getStatusCode(), 200);
    EXPECT_THAT(transport->sentUrls(), ElementsAre("https://server:8443/version"));
    EXPECT_THAT(transport->sentTimeouts(), ElementsAre(10000));
}

TEST_F(NetUtilsFactoryTest, MakesAClientThatFailsWithoutATransport) {
    response.setBody("old");
    response.setStatusCode(200);
    EXPECT_EQ(client->send(request, response), NoTransport);
    EXPECT_EQ(response.getBody(), "");
    EXPECT_EQ(response.getStatusCode(), 0);
}

TEST_F(NetUtilsFactoryTest, MakesAClientThatSurvivesANullRequest) {
    giveTransport();
    EXPECT_EQ(client->send(nullptr, response), NoTransport);
}

TEST_F(NetUtilsFactoryTest, GivesARequestThirtySecondsUnlessToldOtherwise) {
    EXPECT_EQ(request->getUrl(), "https://server:8443/version");
    EXPECT_EQ(request->getOptions()->requestTimeout, 30000);
}
