#include "support/BusClient.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace support {

namespace {

using Bus = std::unique_ptr<sd_bus, sd_bus* (*)(sd_bus*)>;
using Message = std::unique_ptr<sd_bus_message, sd_bus_message* (*)(sd_bus_message*)>;

void check(int result, const char* what) {
    if (result < 0) {
        throw std::runtime_error(std::string(what) + ": " + std::generic_category().message(-result));
    }
}

Bus connect(const std::string& address) {
    sd_bus* raw = nullptr;
    check(sd_bus_new(&raw), "sd_bus_new");
    Bus bus(raw, sd_bus_flush_close_unref);
    check(sd_bus_set_address(raw, address.c_str()), "sd_bus_set_address");
    check(sd_bus_set_bus_client(raw, 1), "sd_bus_set_bus_client");
    check(sd_bus_start(raw), "sd_bus_start");
    return bus;
}

void append(sd_bus_message* message, const LogindSignal& signal) {
    for (const char type : signal.signature) {
        const int number = signal.begins ? 1 : 0;
        const void* const value = type == 's' ? static_cast<const void*>("true") : static_cast<const void*>(&number);
        check(sd_bus_message_append_basic(message, type, value), "sd_bus_message_append_basic");
    }
}

/// Whether the other end of a pipe has been closed. @param timeout milliseconds; -1: as long as it takes.
bool isClosed(int pipe, int timeout) {
    pollfd polled{pipe, 0, 0};
    int ready = 0;
    do {
        ready = poll(&polled, 1, timeout);
    } while (ready < 0 && errno == EINTR);
    return ready > 0 && (polled.revents & POLLHUP) != 0;
}

std::string textsOf(sd_bus_message* call) {
    std::string texts;
    const char* text = nullptr;
    while (sd_bus_message_read_basic(call, SD_BUS_TYPE_STRING, &text) > 0) {
        texts += (texts.empty() ? "" : ", ");
        texts += text;
    }
    return texts;
}

}  // namespace

LentDelay::LentDelay(std::string request, int watched) : request_(std::move(request)), watched_(watched) {}

LentDelay::~LentDelay() { close(watched_); }

bool LentDelay::isHeld() const { return !isClosed(watched_, 0); }

void LentDelay::waitForItsEnd() const { isClosed(watched_, -1); }

BusClient::BusClient(const std::string& address) : bus_(connect(address)) { roundTrip(); }

void BusClient::own(const std::string& name) {
    check(sd_bus_request_name(bus_.get(), name.c_str(), 0), "sd_bus_request_name");
}

void BusClient::release(const std::string& name) {
    check(sd_bus_release_name(bus_.get(), name.c_str()), "sd_bus_release_name");
}

void BusClient::emit(const LogindSignal& signal) {
    sd_bus_message* raw = nullptr;
    check(sd_bus_message_new_signal(bus_.get(), &raw, signal.path.c_str(), signal.interface.c_str(),
                                    signal.member.c_str()),
          "sd_bus_message_new_signal");
    const Message message(raw, sd_bus_message_unref);
    append(raw, signal);
    if (!signal.destination.empty()) {
        check(sd_bus_message_set_destination(raw, signal.destination.c_str()), "sd_bus_message_set_destination");
    }
    check(sd_bus_send(bus_.get(), raw, nullptr), "sd_bus_send");
    roundTrip();
}

LentDelay BusClient::lendDelay() {
    for (;;) {
        sd_bus_message* raw = nullptr;
        check(sd_bus_process(bus_.get(), &raw), "sd_bus_process");
        const Message call(raw, sd_bus_message_unref);
        if (raw != nullptr && sd_bus_message_is_method_call(raw, "org.freedesktop.login1.Manager", "Inhibit") > 0) {
            std::array<int, 2> pipe{};
            check(pipe2(pipe.data(), O_CLOEXEC) == 0 ? 0 : -errno, "pipe2");
            const std::string request = textsOf(raw);
            const int sent = sd_bus_reply_method_return(raw, "h", pipe[1]);
            // The answer holds a copy until it is gone.
            const int flushed = sd_bus_flush(bus_.get());
            close(pipe[1]);
            check(sent < 0 ? sent : flushed, "answer to Inhibit");
            return {request, pipe[0]};
        }
        if (raw == nullptr) {
            check(sd_bus_wait(bus_.get(), UINT64_MAX), "sd_bus_wait");
        }
    }
}

std::string BusClient::theOtherOne() {
    char** names = nullptr;
    const char* own = nullptr;
    check(sd_bus_get_unique_name(bus_.get(), &own), "sd_bus_get_unique_name");
    check(sd_bus_list_names(bus_.get(), &names, nullptr), "sd_bus_list_names");
    std::string other;
    for (char** name = names; *name != nullptr; ++name) {
        if ((*name)[0] == ':' && std::string(*name) != own) {
            other = *name;
        }
        free(*name);
    }
    free(names);
    return other;
}

void BusClient::waitUntilAlone() {
    const auto ignore = [](sd_bus_message*, void*, sd_bus_error*) { return 0; };
    check(sd_bus_match_signal(bus_.get(), nullptr, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                              "org.freedesktop.DBus", "NameOwnerChanged", ignore, nullptr),
          "sd_bus_match_signal");
    while (!theOtherOne().empty()) {
        check(sd_bus_wait(bus_.get(), UINT64_MAX), "sd_bus_wait");
        while (sd_bus_process(bus_.get(), nullptr) > 0) {
        }
    }
}

void BusClient::roundTrip() {
    // The bus answers in the order in which it was told.
    check(sd_bus_call_method(bus_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                             "GetId", nullptr, nullptr, nullptr),
          "GetId");
}

}  // namespace support
