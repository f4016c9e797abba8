#pragma once

#include <array>
#include <functional>
#include <ostream>
#include <streambuf>
#include <utility>

namespace corvidctl {

/// Writes to a file descriptor and remembers why that failed, which the standard streams forget.
class DescriptorBuffer : public std::streambuf {
public:
    /// @param descriptor stays open and the caller's.
    explicit DescriptorBuffer(int descriptor);
    ~DescriptorBuffer() override;

    DescriptorBuffer(const DescriptorBuffer&) = delete;
    DescriptorBuffer& operator=(const DescriptorBuffer&) = delete;

    /// The errno of the first write that failed, after which nothing more is written; 0 if none did.
    int failure() const { return failure_; }

    /// From here on a write whose reader takes nothing is given up, with ECANCELED, as soon as another descriptor is
    /// readable. What the reader would take is written all the same. Not while another thread writes.
    /// @param interruption -1: none.
    void giveUpOn(int interruption) { interruption_ = interruption; }

    /// Called before each write of something. Not while another thread writes.
    void beforeWriting(std::function<void()> listener) { listener_ = std::move(listener); }

    /// Calls the listener as before a write, for an end that writes nothing.
    void announceWriting() const;

protected:
    int_type overflow(int_type character) override;
    int sync() override;

private:
    bool writeOut();
    bool waitUntilTaken() const;

    const int descriptor_;
    std::function<void()> listener_;
    int interruption_ = -1;
    int failure_ = 0;
    std::array<char, 8192> buffer_{};
};

/// A stream onto a file descriptor.
class DescriptorStream : public std::ostream {
public:
    explicit DescriptorStream(int descriptor) : std::ostream(nullptr), buffer_(descriptor) { rdbuf(&buffer_); }

    /// Writes what is held back. @return the errno of the first write that failed, ever; 0 if none did.
    int finish();

    void giveUpOn(int interruption) { buffer_.giveUpOn(interruption); }
    void beforeWriting(std::function<void()> listener) { buffer_.beforeWriting(std::move(listener)); }
    void announceWriting() const { buffer_.announceWriting(); }

private:
    DescriptorBuffer buffer_;
};

}  // namespace corvidctl
