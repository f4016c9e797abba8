#include "impl/http/BodyBuffer.h"

#include <algorithm>
#include <utility>

#include "tessel/SecureStringUtils.h"

namespace {

/// More than a string holds inside itself, so that a move hands memory over and leaves no copy behind.
constexpr std::size_t FIRST_CAPACITY = std::size_t{16} * 1024;

}  // namespace

void platform::wipeWhole(std::string& text) {
    text.resize(text.capacity());
    tessel::SecureStringUtils::TesselZeroString(text);
    text.clear();
}

namespace platform {

BodyBuffer::~BodyBuffer() { wipe(); }

bool BodyBuffer::append(const char* bytes, std::size_t count) {
    if (count > LIMIT - bytes_.size()) {
        return false;
    }
    if (bytes_.size() + count > bytes_.capacity() || bytes_.capacity() < FIRST_CAPACITY) {
        grow(bytes_.size() + count);
    }
    bytes_.append(bytes, count);
    return true;
}

void BodyBuffer::wipe() { wipeWhole(bytes_); }

std::string BodyBuffer::take() { return std::exchange(bytes_, {}); }

void BodyBuffer::grow(std::size_t needed) {
    std::string larger;
    larger.reserve(std::min(LIMIT, std::max({FIRST_CAPACITY, needed, 2 * bytes_.capacity()})));
    larger.append(bytes_);
    wipe();
    bytes_ = std::move(larger);
}

}  // namespace platform
