#pragma once

#include <curl/curl.h>

namespace platform {

/// Initialises libcurl with memory that is overwritten before it is given back: its buffers hold what servers send, and
/// that may be secret. Without effect on the memory if somebody else in this process was first.
/// Not while another thread uses libcurl for the first time.
CURLcode initialiseCurlWithWipedMemory();

}  // namespace platform
