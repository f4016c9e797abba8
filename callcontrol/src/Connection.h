#pragma once

#include <httplib.h>

#include <string>

#include "OpenSsl.h"

namespace callcontrol {

/// One client's connection, as the HTTP library reads and writes it; plain, or inside TLS. One thread.
class Connection : public httplib::Stream {
public:
    /// @param socket stays the caller's; its receive and send time limits are what ends a wait.
    /// @param tls null for a plain connection.
    Connection(int socket, SSL_CTX* tls);

    ~Connection() override;

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// @return false if the client and this server did not agree on TLS.
    bool open();

    /// Says goodbye and waits until the client has gone too: closing over what it sent and nobody read would take the
    /// answer away from it.
    void finish();

    /// True if something could be written to the client.
    bool hasAnswered() const { return hasAnswered_; }

    /// The client's address.
    const std::string& client() const { return client_; }

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    ssize_t read(char* data, std::size_t size) override;

    /// Writes all of it, or fails with -1.
    ssize_t write(const char* data, std::size_t size) override;

    void get_remote_ip_and_port(std::string& address, int& port) const override {
        address = client_;
        port = clientPort_;
    }
    void get_local_ip_and_port(std::string& address, int& port) const override;
    int socket() const override { return socket_; }

private:
    ssize_t writeSome(const char* data, std::size_t size);

    const int socket_;
    Owned<SSL> tls_;
    std::string client_;  ///< asked for early: the system forgets it when the client has gone
    int clientPort_ = 0;
    bool isUp_ = false;  ///< TLS has been agreed on, and nothing has failed since
    bool hasAnswered_ = false;
};

}  // namespace callcontrol
