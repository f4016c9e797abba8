#include "http/Request.h"

tessel::http::Request::Request(const std::string& url) : url_(url), options_(std::make_shared<RequestOptions>()) {}
