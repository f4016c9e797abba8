#include "output/DescriptorStream.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>

namespace corvidctl {

DescriptorBuffer::DescriptorBuffer(int descriptor) : descriptor_(descriptor) {
    setp(buffer_.data(), buffer_.data() + buffer_.size());
}

DescriptorBuffer::~DescriptorBuffer() { writeOut(); }

DescriptorBuffer::int_type DescriptorBuffer::overflow(int_type character) {
    if (!writeOut()) {
        return traits_type::eof();
    }
    if (!traits_type::eq_int_type(character, traits_type::eof())) {
        sputc(traits_type::to_char_type(character));
    }
    return traits_type::not_eof(character);
}

int DescriptorBuffer::sync() { return writeOut() ? 0 : -1; }

bool DescriptorBuffer::writeOut() {
    const char* from = pbase();
    if (from != pptr()) {
        announceWriting();
    }
    while (failure_ == 0 && from != pptr()) {
        if (!waitUntilTaken()) {
            failure_ = ECANCELED;
            break;
        }
        // A pipe that is ready takes so much without a wait.
        const auto size = std::min<std::size_t>(static_cast<std::size_t>(pptr() - from), PIPE_BUF);
        const ssize_t written = write(descriptor_, from, size);
        if (written >= 0) {
            from += written;
        } else if (errno != EINTR) {
            failure_ = errno;
        }
    }
    setp(buffer_.data(), buffer_.data() + buffer_.size());
    return failure_ == 0;
}

void DescriptorBuffer::announceWriting() const {
    if (listener_) {
        listener_();
    }
}

bool DescriptorBuffer::waitUntilTaken() const {
    if (interruption_ < 0) {
        return true;
    }
    std::array<pollfd, 2> descriptors = {{{descriptor_, POLLOUT, 0}, {interruption_, POLLIN, 0}}};
    while (poll(descriptors.data(), descriptors.size(), -1) < 0 && errno == EINTR) {
    }
    return descriptors[0].revents != 0 || descriptors[1].revents == 0;  // what else is wrong the write will tell
}

int DescriptorStream::finish() {
    flush();
    return buffer_.failure();
}

}  // namespace corvidctl
