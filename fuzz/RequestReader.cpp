#include "RequestReader.h"

#include <httplib.h>
#include <sys/socket.h>

#include <array>
#include <stdexcept>
#include <utility>

#include "impl/quill/FileDescriptor.h"
#include "web/Exchange.h"
#include "web/WebHouse.h"

using namespace corvidctl;

namespace {

/// Gives a text, and throws away what is answered.
class TextStream : public httplib::Stream {
public:
    explicit TextStream(std::string text) : text_(std::move(text)) {}

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    ssize_t read(char* data, std::size_t size) override {
        const std::size_t count = text_.copy(data, size, taken_);
        taken_ += count;
        return static_cast<ssize_t>(count);
    }
    ssize_t write(const char* /*data*/, std::size_t size) override { return static_cast<ssize_t>(size); }
    void get_remote_ip_and_port(std::string& /*address*/, int& /*port*/) const override {}
    void get_local_ip_and_port(std::string& /*address*/, int& /*port*/) const override {}
    int socket() const override { return 0; }

private:
    const std::string text_;
    std::size_t taken_ = 0;
};

class Reader : private httplib::Server {
public:
    explicit Reader(const Gate& gate) {
        set_pre_routing_handler([this, &gate](const httplib::Request& request, httplib::Response& /*response*/) {
            verdict_ = gate.judge(request);
            return HandlerResponse::Handled;
        });
    }

    std::optional<Gate::Verdict> read(const std::string& text) {
        TextStream stream(text);
        bool closed = false;
        process_request(stream, true, closed, nullptr);
        return verdict_;
    }

private:
    std::optional<Gate::Verdict> verdict_;
};

/// Keeps the bodies of changes, and knows nothing.
class ChangeRecord : public Api {
public:
    ApiAnswer answer(const ApiRequest& request) override {
        if (request.method == "POST") {
            bodies.push_back(request.body);
        }
        return {200, "{}"};
    }
    std::vector<ServerEvent> eventsSince(std::uint64_t /*lastId*/) override { return {}; }

    std::vector<std::string> bodies;
};

}  // namespace

std::optional<Gate::Verdict> judgeText(const Gate& gate, const std::string& text) { return Reader(gate).read(text); }

std::vector<std::string> changesHandedOver(const std::string& text) {
    const WebServer::Options options{.port = 8080, .headBytes = 2048};
    ChangeRecord record;
    WebHouse house{options, Gate(8080, "5ec8e7", "/4f1c/", options.requestBytes), record, {1, options.streamBytes}};
    std::array<int, 2> ends{-1, -1};
    socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data());
    const QuillCoreUtils::FileDescriptor client(ends[0]);
    const QuillCoreUtils::FileDescriptor server(ends[1]);
    if (send(client.get(), text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("no connection holds so long a text");
    }
    shutdown(client.get(), SHUT_WR);
    Exchange(house, server.get()).run();
    return record.bodies;
}
