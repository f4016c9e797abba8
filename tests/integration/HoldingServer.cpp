#include "HoldingServer.h"

#include <condition_variable>
#include <mutex>

namespace integration {

struct HoldingServer::Gate {
    std::mutex mutex;
    std::condition_variable changed;
    bool open = false;

    void set(bool toOpen) {
        const std::lock_guard<std::mutex> lock(mutex);
        open = toOpen;
        changed.notify_all();
    }

    void pass() {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return open; });
    }
};

HoldingServer::HoldingServer(const std::string& address, const std::string& file)
    : HoldingServer(file, fakes::ScriptedServer::Options{.address = address, .port = 6970}) {}

HoldingServer::HoldingServer(const std::string& body, const fakes::ScriptedServer::Options& options)
    : gate_(std::make_shared<Gate>()),
      server_(
          [gate = gate_, body](fakes::ScriptedConnection& connection) {
              gate->pass();
              connection.respond(200, body);
          },
          options) {}

HoldingServer::~HoldingServer() { release(); }

void HoldingServer::hold() { gate_->set(false); }

void HoldingServer::release() { gate_->set(true); }

}  // namespace integration
