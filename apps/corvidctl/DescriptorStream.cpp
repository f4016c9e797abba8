#include "DescriptorStream.h"

#include <unistd.h>

#include <cerrno>

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
    while (failure_ == 0 && from != pptr()) {
        const ssize_t written = write(descriptor_, from, static_cast<std::size_t>(pptr() - from));
        if (written >= 0) {
            from += written;
        } else if (errno != EINTR) {
            failure_ = errno;
        }
    }
    setp(buffer_.data(), buffer_.data() + buffer_.size());
    return failure_ == 0;
}

int DescriptorStream::finish() {
    flush();
    return buffer_.failure();
}

}  // namespace corvidctl
