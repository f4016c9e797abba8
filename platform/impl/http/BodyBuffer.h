#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

/// Overwrites a text and whatever its memory still holds behind its end, and empties it.
void wipeWhole(std::string& text);

/// A body that arrives in pieces. It may hold secrets: memory that it has outgrown or does not need any more is
/// overwritten. One thread at a time.
class BodyBuffer {
public:
    static constexpr std::size_t LIMIT = std::size_t{16} * 1024 * 1024;  ///< bytes; exactly so many are allowed

    BodyBuffer() = default;

    /// Wipes.
    ~BodyBuffer();

    BodyBuffer(const BodyBuffer&) = delete;
    BodyBuffer& operator=(const BodyBuffer&) = delete;

    /// @return false if the limit would be passed: nothing has been added then.
    bool append(const char* bytes, std::size_t count);

    std::size_t size() const { return bytes_.size(); }

    /// Until the next change.
    std::string_view view() const { return bytes_; }

    void wipe();

    /// Hands the memory itself over; empty afterwards.
    std::string take();

private:
    void grow(std::size_t needed);

    std::string bytes_;
};

}  // namespace platform
