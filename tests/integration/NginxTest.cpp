#include "Nginx.h"

#include <httplib.h>

#include <stdexcept>

#include "callcontrol/CallControlServer.h"

using callcontrol::CallControlServer;
using callcontrol::CertificateAuthority;
using integration::Nginx;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string bodyFrom(const std::string& address, int port, const std::string& path) {
    httplib::Client client(address, port);
    const httplib::Result answer = client.Get(path);
    return answer ? answer->body : "no answer: " + httplib::to_string(answer.error());
}

bool answers(const std::string& address, int port) { return bool(httplib::Client(address, port).Get("/index.html")); }

}  // namespace

TEST(Nginx, ServesAFileOnceItIsThere) {
    const std::string address = CallControlServer::freeLoopbackAddress();
    const Nginx server(address, {{6970}});
    server.serve("a.xml", "<a/>");
    EXPECT_EQ(bodyFrom(address, 6970, "/a.xml"), "<a/>");
}

TEST(Nginx, ServesANewFileInThePlaceOfAnother) {
    const std::string address = CallControlServer::freeLoopbackAddress();
    const Nginx server(address, {{6970}});
    server.serve("a.xml", "<a/>");
    server.serve("a.xml", "<b/>");
    EXPECT_EQ(bodyFrom(address, 6970, "/a.xml"), "<b/>");
}

TEST(Nginx, SpeaksTlsWithItsCredentials) {
    const std::string address = CallControlServer::freeLoopbackAddress();
    const CertificateAuthority authority;
    const fakes::TemporaryDirectory directory;
    const Nginx server(address, {{6972, "", authority.issue({.names = {address}})}});
    server.serve("a.xml", "<a/>");
    httplib::SSLClient client(address, 6972);
    client.set_ca_cert_path(directory.write("ca.pem", authority.certificate()));
    const httplib::Result answer = client.Get("/a.xml");
    ASSERT_TRUE(answer) << httplib::to_string(answer.error());
    EXPECT_EQ(answer->body, "<a/>");
}

TEST(Nginx, WritesDownWhatItAnswered) {
    const std::string address = CallControlServer::freeLoopbackAddress();
    Nginx server(address, {{6970, "location /refused { return 403; }"}});
    server.serve("a.xml", "<a/>");
    bodyFrom(address, 6970, "/a.xml");
    bodyFrom(address, 6970, "/b.xml");
    bodyFrom(address, 6970, "/refused");
    EXPECT_THAT(server.stopAndTell(), ElementsAre("6970 /a.xml 200", "6970 /b.xml 404", "6970 /refused 403"));
}

TEST(Nginx, IsGoneAfterItsStop) {
    const std::string address = CallControlServer::freeLoopbackAddress();
    Nginx server(address, {{6970}});
    EXPECT_TRUE(answers(address, 6970));
    server.stop();
    EXPECT_FALSE(answers(address, 6970));
    const Nginx another(address, {{6970}});
    EXPECT_TRUE(answers(address, 6970));
}

TEST(Nginx, RunsBesideAnotherOnAnotherAddress) {
    const std::string first = CallControlServer::freeLoopbackAddress();
    const std::string second = CallControlServer::freeLoopbackAddress();
    const Nginx one(first, {{6970}});
    const Nginx other(second, {{6970}});
    EXPECT_TRUE(answers(first, 6970));
    EXPECT_TRUE(answers(second, 6970));
}

TEST(Nginx, SaysWhyItDoesNotStart) {
    const std::string address = CallControlServer::freeLoopbackAddress();
    try {
        const Nginx server(address, {{6970, "no_such_directive;"}});
        FAIL() << "started";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("unknown directive \"no_such_directive\""));
    }
}
