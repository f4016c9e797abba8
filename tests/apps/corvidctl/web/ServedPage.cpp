#include "web/ServedPage.h"

#include <utility>

using namespace corvidctl;

ApiAnswer ScriptedApi::answer(const ApiRequest& request) {
    {
        const std::lock_guard lock(mutex_);
        requests_.push_back(request);
    }
    return script ? script(request) : ApiAnswer{200, "{\"path\":\"" + request.path + "\"}"};
}

std::vector<ServerEvent> ScriptedApi::eventsSince(std::uint64_t lastId) {
    return missed ? missed(lastId) : std::vector<ServerEvent>();
}

std::vector<ApiRequest> ScriptedApi::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

void ServedPage::serve() { server_ = std::make_unique<WebServer>(options_, api_); }

std::string ServedPage::token() const {
    const std::string link = server_->link();
    return link.substr(link.find('=') + 1);
}

std::string ServedPage::cookie() const {
    return "Cookie: corvid-inspector-" + std::to_string(server_->port()) + "=" + token() + "\r\n";
}

std::string ServedPage::get(const std::string& path, const std::string& more) const {
    return "GET " + path + " HTTP/1.1\r\nHost: " + host() + "\r\n" + cookie() + more + "\r\n";
}

std::string ServedPage::post(const std::string& path, const std::string& body, const std::string& more) const {
    return "POST " + path + " HTTP/1.1\r\nHost: " + host() + "\r\nOrigin: http://" + host() + "\r\n" + cookie() +
           "Content-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + more + "\r\n" +
           body;
}

RawAnswer ServedPage::ask(const std::string& request) const {
    RawClient client = connect();
    client.send(request);
    return client.read(!request.starts_with("HEAD"));
}

RawAnswer ServedPage::askUntilServed(const std::string& request) const {
    RawAnswer answer;
    do {
        answer = ask(request);
    } while (answer.status == 503 || answer.status == 0);
    return answer;
}

RawClient ServedPage::listen(const std::string& more) const {
    RawClient client = connect();
    client.send(get("/api/events", more));
    EXPECT_TRUE(client.readUpTo("\r\n\r\n"));
    EXPECT_EQ(client.readUpTo("\n\n"), "retry: 1000\n\n");
    return client;
}
