// The built tool as it serves the inspector's page.

#include <sys/stat.h>

#include <csignal>
#include <filesystem>

#include "ServedTool.h"
#include "web/RawClient.h"

using nlohmann::json;
using testing::HasSubstr;

namespace {

/// The tool that serves, and a browser that has followed its link. The tool prints the link as JSON.
class InspectingTool {
public:
    explicit InspectingTool(const std::vector<std::string>& command, const support::ChildOptions& options = {})
        : tool_(command, options) {
        EXPECT_TRUE(tool_.waitForOutput("}\n"));
        const json printed = json::parse(tool_.output());
        link_ = printed.at("url");
        port_ = printed.at("port");
        cookie_ = "corvid-inspector-" + std::to_string(port_) + "=" + link_.substr(link_.find("token=") + 6);
    }

    const std::string& link() const { return link_; }
    std::uint16_t port() const { return port_; }

    json get(const std::string& path) const { return json::parse(ask(head("GET", path) + "\r\n").body); }

    json post(const std::string& path, const json& body) const {
        const std::string text = body.dump();
        return json::parse(ask(head("POST", path) + "Origin: http://127.0.0.1:" + std::to_string(port_) +
                               "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(text.size()) +
                               "\r\n\r\n" + text)
                               .body);
    }

    /// The page's stream, which tells all that happens from here on.
    RawClient listen() const {
        RawClient client(port_);
        client.send(head("GET", "events") + "\r\n");
        EXPECT_TRUE(client.readUpTo("retry: 1000\n\n"));
        return client;
    }

    support::ChildProcess& process() { return tool_; }

private:
    std::string head(const std::string& method, const std::string& path) const {
        return method + " /api/" + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port_) +
               "\r\nCookie: " + cookie_ + "\r\n";
    }

    RawAnswer ask(const std::string& request) const {
        RawClient client(port_);
        client.send(request);
        return client.read();
    }

    support::ChildProcess tool_;
    std::string link_;
    std::uint16_t port_ = 0;
    std::string cookie_;
};

class Inspect : public ServedTool {
protected:
    /// Of a client that nobody has told of a server.
    std::vector<std::string> aloneAnd(std::vector<std::string> words) const {
        name("ServicesDomain: example.org\n");
        words.insert(words.begin(), {"--log-level", "2", "--json", "inspect"});
        return command(words);
    }

    std::vector<std::string> servedAnd(std::vector<std::string> words) {
        serve("12.5");
        words.insert(words.begin(), {"--log-level", "2", "--json", "inspect"});
        return command(trusting(words));
    }
};

}  // namespace

TEST_F(Inspect, PrintsOneLinkForPeople) {
    name("ServicesDomain: example.org\n");
    support::ChildProcess tool(command({"--log-level", "2", "inspect"}));
    EXPECT_TRUE(tool.waitForOutput("\n"));
    tool.signal(SIGINT);
    const support::Ended ended = tool.wait();
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    EXPECT_THAT(ended.out, testing::MatchesRegex("The inspector is at http://127\\.0\\.0\\.1:[0-9]+/\\?token=[0-9a-f]+ "
                                                 "\\(Ctrl-C ends it\\)\n"));
}

TEST_F(Inspect, ServesAClientToABrowser) {
    InspectingTool tool(servedAnd({}));
    RawClient page = tool.listen();
    EXPECT_TRUE(page.readUpTo("\"key\":\"LaunchOnSystemStartup\""));
    EXPECT_EQ(entryOf(tool.get("keys").at("keys"), "LaunchOnSystemStartup").at("value"), "true");
    EXPECT_EQ(tool.get("explain?key=tftpserver1").at("alias"), "TftpServer1");
    EXPECT_EQ(tool.post("set", {{"key", "A"}, {"value", "b"}}).at("isPersisted"), true);
    EXPECT_TRUE(page.readUpTo("\"cause\":\"set\""));
    EXPECT_TRUE(page.readUpTo("event: chain\n"));
    rewrite("<c><g><LaunchOnSystemStartup>never</LaunchOnSystemStartup></g></c>");
    while (!tool.get("server").at("settled").get<bool>()) {
    }
    EXPECT_EQ(tool.post("fetch", json::object()).at("settled"), false);
    EXPECT_TRUE(page.readUpTo("\"newValue\":\"never\""));
    EXPECT_EQ(entryOf(tool.get("keys").at("keys"), "LaunchOnSystemStartup").at("value"), "never");
    tool.process().signal(SIGTERM);
    EXPECT_EQ(tool.process().wait().status, 0);
    EXPECT_THAT(configFile("corvidLocalConfig.xml"), HasSubstr("name=\"A\" value=\"b\""));
    EXPECT_THAT(configFile("Cache/cachedTFTPConfigStore.xml"), HasSubstr("never"));
}

TEST_F(Inspect, KeepsSecretsFromItsStream) {
    InspectingTool tool(servedAnd({}));
    RawClient page = tool.listen();
    tool.post("set", {{"key", "BDIConnectionPassword"}, {"value", "my-own-secret"}});
    tool.post("set", {{"key", "Last"}, {"value", "1"}});
    const std::string told = page.readUpTo("\"key\":\"Last\"").value_or("");
    EXPECT_THAT(told, HasSubstr("VALUE_HIDDEN"));
    for (const char* const secret : {"my-own-secret", "only-the-server-knows", "nobody-else-either"}) {
        EXPECT_EQ(told.find(secret), std::string::npos) << secret;
    }
}

TEST_F(Inspect, IsAClientThatOthersAreToldOf) {
    InspectingTool tool(aloneAnd({}));
    const support::Ended refused = run({"set", "A", "b"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.error, HasSubstr("nothing changed: corvidctl (process "));
    const InspectingTool second(aloneAnd({}));  // which tells, and serves all the same
    EXPECT_NE(second.port(), tool.port());
    support::ChildProcess third(command({"--log-level", "2", "inspect"}));
    EXPECT_TRUE(third.waitForError(" is running on " + directory_.path("config")));
}

TEST_F(Inspect, SaysThatItsPortIsTaken) {
    const InspectingTool tool(aloneAnd({}));
    const std::string port = std::to_string(tool.port());
    std::filesystem::remove_all(directory_.path("config"));  // no other client is on the new one
    const support::Ended ended = run({"--log-level", "2", "inspect", "--port", port});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error, "corvidctl: cannot listen on 127.0.0.1:" + port + ": Address already in use\n");
}

TEST_F(Inspect, TakesNoPortButANumber) {
    for (const char* const wrong : {"-1", "65536", "8400x", "000001"}) {
        const support::Ended ended = run({"inspect", "--port=" + std::string(wrong)});
        EXPECT_EQ(ended.status, 2) << wrong;
        EXPECT_EQ(ended.error, "corvidctl: --port '" + std::string(wrong) +
                                   "': expected a number from 0 to 65535, where 0 is a free port\n");
    }
}

TEST_F(Inspect, OpensThePageInTheBrowser) {
    const std::string opener = directory_.write("bin/xdg-open", "#!/bin/sh\nprintf %s \"$1\" > \"$OPENED\"\n");
    std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
    const std::string opened = directory_.path("opened");
    ASSERT_EQ(mkfifo(opened.c_str(), 0600), 0);
    support::ChildOptions options;
    options.environment = {{"PATH", directory_.path("bin")}, {"OPENED", opened}};
    const InspectingTool tool(aloneAnd({"--open"}), options);
    EXPECT_EQ(directory_.read("opened"), tool.link());  // waits for whoever writes
}

TEST_F(Inspect, GoesOnWithoutABrowser) {
    support::ChildOptions options;
    options.environment = {{"PATH", directory_.path("nowhere")}};
    InspectingTool tool(aloneAnd({"--open"}), options);
    EXPECT_TRUE(
        tool.process().waitForError("corvidctl: xdg-open could not show the page; open the link in a browser\n"));
    EXPECT_EQ(tool.get("about").at("reveal"), false);
    tool.process().signal(SIGTERM);
    EXPECT_EQ(tool.process().wait().status, 0);
}

TEST_F(Inspect, KeepsAJournalWhereItIsTold) {
    const std::string journal = directory_.path("changes.jsonl");
    InspectingTool tool(aloneAnd({"--journal", journal}));
    tool.post("set", {{"key", "A"}, {"value", "b"}});
    tool.process().signal(SIGTERM);
    EXPECT_EQ(tool.process().wait().status, 0);
    EXPECT_THAT(run({"history", "--journal", journal, "A"}).out, HasSubstr("b"));
}

TEST_F(Inspect, EndsWithOneIfSomethingCouldNotBeWritten) {
    InspectingTool tool(aloneAnd({}));
    std::filesystem::remove_all(directory_.path("config"));
    directory_.write("config", "a file in its place");
    EXPECT_EQ(tool.post("set", {{"key", "A"}, {"value", "b"}}).at("isPersisted"), false);
    tool.process().signal(SIGTERM);
    const support::Ended ended = tool.process().wait();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error,
                HasSubstr("corvidctl: what was stored could not be written to " + directory_.path("config") + "\n"));
}
