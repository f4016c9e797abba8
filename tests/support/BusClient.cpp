#include "support/BusClient.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

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

}  // namespace

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
