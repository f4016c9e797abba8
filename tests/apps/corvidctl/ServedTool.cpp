#include "ServedTool.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

const std::string ServedTool::SAMPLE =
    "<config><Phone><Telephony_Enabled>false</Telephony_Enabled><CtiServer1>phones.example.org</CtiServer1></Phone>"
    "<Options><DockedWindow>true</DockedWindow><LaunchOnSystemStartup>true</LaunchOnSystemStartup></Options>"
    "<Voicemail><VoicemailPrimaryServer>voicemail.example.org</VoicemailPrimaryServer></Voicemail>"
    "<Secrets><Token sensitive=\"true\">only-the-server-knows</Token>"
    "<BDIConnectionPassword>nobody-else-either</BDIConnectionPassword></Secrets></config>";

ServedTool::ServedTool() {
    directory_.write("ca.pem", authority_.certificate());
    name("TftpServer1: " + address_ + "\n");
}

void ServedTool::serve(const std::string& version, const std::string& file) {
    rewrite(file);
    start(directory_.path("server/corvid-config.xml"), version);
}

void ServedTool::serveAs(const std::string& name, const std::string& version) {
    start(directory_.write("server/" + name, SAMPLE), version);
}

void ServedTool::start(const std::string& path, const std::string& version) {
    callcontrol::CallControlServer::Options options;
    options.address = address_;
    options.file = path;
    options.serverVersion = version;
    options.credentials = authority_.issue({{address_}});
    server_ =
        std::make_unique<callcontrol::CallControlServer>(options, [this](const callcontrol::ServedRequest& request) {
            const std::lock_guard<std::mutex> lock(mutex_);
            requests_.push_back(std::to_string(request.port) + request.path);
        });
    server_->start();
}

std::vector<std::string> ServedTool::trusting(std::vector<std::string> words) const {
    words.insert(words.begin(), {"--ca-file", directory_.path("ca.pem")});
    return words;
}

std::vector<std::string> ServedTool::withoutDisk(const std::vector<std::string>& words) const {
    std::vector<std::string> all = {"/bin/sh", "-c", "trap '' XFSZ; ulimit -f 0; exec \"$0\" \"$@\""};
    const std::vector<std::string> tool = command(words);
    all.insert(all.end(), tool.begin(), tool.end());
    return all;
}

std::vector<std::string> ServedTool::requestsUntilStop() {
    stopServing();  // a request is told after its answer has gone out
    const std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

SilentServer::SilentServer(const std::string& address, std::uint16_t port)
    : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const int yes = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(port);
    inet_pton(AF_INET, address.c_str(), &place.sin_addr);
    if (bind(listener_, reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0 || listen(listener_, 8) != 0) {
        throw std::runtime_error("cannot listen on " + address);
    }
}

SilentServer::~SilentServer() {
    for (const int connection : connections_) {
        close(connection);
    }
    close(listener_);
}

void SilentServer::waitForSomebody() { connections_.push_back(accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)); }

bool SilentServer::isSomebodyThere() const {
    pollfd descriptor = {listener_, POLLIN, 0};
    return poll(&descriptor, 1, 0) == 1;
}
