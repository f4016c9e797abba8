#pragma once

#include <curl/curl.h>

#include <memory>
#include <new>

namespace platform {

/// libcurl's way of working on exchanges without blocking; waits of it can be ended from other threads.
using CurlMulti = std::unique_ptr<CURLM, CURLMcode (*)(CURLM*)>;

inline CurlMulti makeCurlMulti() {
    CurlMulti multi(curl_multi_init(), curl_multi_cleanup);
    if (multi == nullptr) {
        throw std::bad_alloc();
    }
    return multi;
}

}  // namespace platform
