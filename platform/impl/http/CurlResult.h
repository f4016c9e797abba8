#pragma once

#include <curl/curl.h>

#include "http/HttpDownloadResult.h"

namespace platform {

/// What libcurl's end of an exchange means.
/// @param answering whether the head of an answer had come whole: a connection that breaks afterwards cuts the body.
HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult resultOf(CURLcode code, bool answering);

}  // namespace platform
