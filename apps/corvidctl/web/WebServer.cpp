#include "web/WebServer.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <stdexcept>
#include <thread>
#include <vector>

#include "impl/quill/FileDescriptor.h"
#include "web/ConnectionThreads.h"
#include "web/Exchange.h"
#include "web/Farewells.h"
#include "web/HttpAnswer.h"
#include "web/LoopbackListener.h"
#include "web/Token.h"
#include "web/WebHouse.h"

namespace corvidctl {

namespace {

constexpr int MOST_AT_A_TIME = 64;
constexpr std::size_t MOST_FAREWELLS = 128;

/// When the system has no descriptor left, somebody waits and cannot be accepted: looking again at once is of no use.
constexpr int PAUSE_MILLISECONDS = 100;

constexpr const char* NO_PLACE = "Too many connections are open already: try again in some seconds.";

}  // namespace

struct WebServer::State {
    State(const Options& options, Api& api);
    ~State();

    void acceptClients();
    bool waitForClients();
    void admitClients();

    const LoopbackListener listener;
    WebHouse house;
    Farewells farewells;
    ConnectionThreads threads;
    const QuillCoreUtils::FileDescriptor ended;  ///< readable at the end
    bool isShort = false;                        ///< of descriptors; of the acceptor
    std::thread acceptor;
};

WebServer::State::State(const Options& options, Api& api)
    : listener(options.port),
      house{options,
            Gate(listener.port(), makeToken(), "/" + makeToken() + "/", options.requestBytes),
            api,
            {options.streams, options.streamBytes}},
      farewells(noPlaceText(NO_PLACE), MOST_FAREWELLS, options.goodbyeTime),
      threads(options.connections, [this](int socket) { Exchange(house, socket).run(); }),
      ended(eventfd(0, EFD_CLOEXEC)) {
    if (!ended.isOpen()) {
        throw std::runtime_error("the web server cannot start: no descriptor is left");
    }
    acceptor = std::thread([this] { acceptClients(); });
}

WebServer::State::~State() {
    eventfd_write(ended.get(), 1);
    acceptor.join();
}

void WebServer::State::acceptClients() {
    while (waitForClients()) {
        farewells.tend();
        admitClients();
    }
}

/// @return false at the end.
bool WebServer::State::waitForClients() {
    std::vector<pollfd> waited{{ended.get(), POLLIN, 0}};
    int atMost = farewells.waitFor(waited);
    if (isShort) {
        atMost = PAUSE_MILLISECONDS;
    } else {
        waited.push_back({listener.descriptor(), POLLIN, 0});
    }
    poll(waited.data(), waited.size(), atMost);
    return waited.front().revents == 0;
}

/// Not all who wait, lest a flood keeps the acceptor from looking at anything else.
void WebServer::State::admitClients() {
    int client = 0;
    for (int i = 0; i < MOST_AT_A_TIME && client >= 0; ++i) {
        client = listener.accept();
        if (client >= 0 && !threads.admit(client)) {
            farewells.add(client);
        }
    }
    isShort = client < 0 && (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM);
}

WebServer::WebServer(Options options, Api& api) : state_(std::make_unique<State>(options, api)) {}

WebServer::~WebServer() = default;

std::string WebServer::link() const { return state_->house.gate.link(); }

std::uint16_t WebServer::port() const { return state_->listener.port(); }

bool WebServer::isHeard() const { return state_->house.streams.isAnyOpen(); }

void WebServer::send(const ServerEvent& event) { state_->house.streams.send(event); }

}  // namespace corvidctl
