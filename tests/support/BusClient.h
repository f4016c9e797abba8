#pragma once

#include <systemd/sd-bus.h>

#include <memory>
#include <string>

namespace support {

/// A signal of the login manager's, or one that resembles it.
struct LogindSignal {
    std::string member;
    bool begins = true;
    std::string path = "/org/freedesktop/login1";
    std::string interface = "org.freedesktop.login1.Manager";
    std::string signature = "b";   ///< "b", "bb", "s" (the text "true"), "i" (1) or empty
    std::string destination = {};  ///< empty: everybody
};

/// A lock that the login manager has lent.
class LentDelay {
public:
    /// @param watched the end of a pipe whose other end is lent.
    LentDelay(std::string request, int watched);
    ~LentDelay();

    LentDelay(const LentDelay&) = delete;
    LentDelay& operator=(const LentDelay&) = delete;

    /// What was asked for: "WHAT, WHO, WHY, MODE".
    const std::string& request() const { return request_; }

    bool isHeld() const;

    /// Returns when it has been given back.
    void waitForItsEnd() const;

private:
    const std::string request_;
    const int watched_;
};

/// Somebody else on a bus, who may be the login manager or pretend to be. One thread at a time. Each operation returns
/// when the bus has done it, and throws std::runtime_error if it does not.
class BusClient {
public:
    explicit BusClient(const std::string& address);

    static constexpr const char* LOGIND = "org.freedesktop.login1";

    void own(const std::string& name);
    void release(const std::string& name);

    /// What it sends is queued for everybody whom it reaches when this returns.
    void emit(const LogindSignal& signal);

    /// Waits for somebody who asks to hold up what the login manager announces, and lends him a lock.
    LentDelay lendDelay();

    /// The unique name of the one other client of the bus; empty if there is none.
    std::string theOtherOne();

    /// Returns when there is no other client on the bus any more.
    void waitUntilAlone();

private:
    void roundTrip();

    std::unique_ptr<sd_bus, sd_bus* (*)(sd_bus*)> bus_;
};

}  // namespace support
