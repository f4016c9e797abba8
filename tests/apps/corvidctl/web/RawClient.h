#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

/// What a server has answered, as it came.
struct RawAnswer {
    int status = 0;  ///< 0: nothing came
    std::string head;
    std::map<std::string, std::string> fields;  ///< names as they came; of several of a name the last
    std::string body;

    std::string field(const std::string& name) const;
};

/// One connection to this machine, on which a test says what it likes. Waits for as long as it takes.
class RawClient {
public:
    /// @param receiveBuffer for a client that is to be full soon, in bytes; 0: as the system has it.
    /// @param address of this machine, 127.0.0.1 if not said otherwise.
    /// @throws std::runtime_error if nobody listens.
    explicit RawClient(std::uint16_t port, int receiveBuffer = 0, std::uint32_t address = 0x7F000001);
    ~RawClient();

    RawClient(RawClient&& other) noexcept;
    RawClient& operator=(RawClient&& other) noexcept;
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    /// @return false if the server takes no more.
    bool send(const std::string& text) const;

    /// Reads one answer: as many bytes of a body as it says, or all to the end if it says nothing.
    RawAnswer read(bool hasBody = true);

    /// Reads up to a text and takes it. @return all of that; nothing if the end comes before.
    std::optional<std::string> readUpTo(const std::string& text);

    /// Reads whatever comes until the server has closed the connection.
    std::string readToEnd();

    /// True if the server has said something, or has ended, within some milliseconds.
    bool hasSomething(int milliseconds) const;

    /// True if the server has thrown away what was sent, instead of saying goodbye.
    bool wasCutOff() const { return wasCutOff_; }

    /// Says that nothing more will be sent.
    void finishSending() const;

    /// Ends the connection.
    void close();

private:
    bool readSome();

    int socket_ = -1;
    std::string unread_;
    bool wasCutOff_ = false;
};
