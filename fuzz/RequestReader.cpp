#include "RequestReader.h"

#include <httplib.h>

#include <utility>

using corvidctl::Gate;

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

}  // namespace

std::optional<Gate::Verdict> judgeText(const Gate& gate, const std::string& text) { return Reader(gate).read(text); }
