#pragma once

#include <cstddef>

namespace simulation {

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define CORVID_SANITIZED 1
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define CORVID_SANITIZED 1
#endif

/// How many sequences a campaign runs: the full number in a plain build, fewer where a sanitizer makes each one dear.
constexpr std::size_t sequences(std::size_t plain) {
#ifdef CORVID_SANITIZED
    return plain / 10;
#else
    return plain;
#endif
}

}  // namespace simulation
