#include "impl/http/WebUrl.h"

#include <arpa/inet.h>

#include <algorithm>
#include <memory>

#include <curl/curl.h>

namespace {

using Handle = std::unique_ptr<CURLU, void (*)(CURLU*)>;

/// Empty if the URL has no such part.
std::string part(const Handle& url, CURLUPart which, unsigned flags = 0) {
    char* text = nullptr;
    if (curl_url_get(url.get(), which, &text, flags) != CURLUE_OK) {
        return {};
    }
    const std::unique_ptr<char, void (*)(void*)> owned(text, curl_free);
    return text;
}

/// As the C locale does, whatever the process has set.
std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

bool isLocalName(std::string name) {
    if (name.ends_with('.')) {
        name.pop_back();
    }
    return name == "localhost" || name.ends_with(".localhost");
}

bool isLoopback6(const std::string& host) {
    in6_addr address{};
    if (!host.starts_with('[') || inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), &address) != 1) {
        return false;
    }
    return IN6_IS_ADDR_LOOPBACK(&address) || (IN6_IS_ADDR_V4MAPPED(&address) && address.s6_addr[12] == 127);
}

bool isLoopback4(const std::string& host) {
    in_addr address{};
    return inet_pton(AF_INET, host.c_str(), &address) == 1 && ntohl(address.s_addr) >> 24 == 127;
}

}  // namespace

std::optional<platform::WebUrl> platform::parseWebUrl(const std::string& text) {
    const Handle url(curl_url(), curl_url_cleanup);
    const bool cut = text.find('\0') != std::string::npos;
    if (url == nullptr || cut || curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK) {
        return std::nullopt;
    }
    WebUrl parsed{lowered(part(url, CURLUPART_SCHEME)), lowered(part(url, CURLUPART_HOST)),
                  part(url, CURLUPART_PORT, CURLU_DEFAULT_PORT)};
    if ((parsed.scheme != "http" && parsed.scheme != "https") || parsed.host.empty()) {
        return std::nullopt;
    }
    return parsed;
}

std::string platform::resolveUrl(const std::string& base, const std::string& reference) {
    const Handle url(curl_url(), curl_url_cleanup);
    // The reference may bring any scheme: whether it may be followed is for others to say.
    if (url == nullptr || curl_url_set(url.get(), CURLUPART_URL, base.c_str(), 0) != CURLUE_OK ||
        curl_url_set(url.get(), CURLUPART_URL, reference.c_str(), CURLU_URLENCODE | CURLU_NON_SUPPORT_SCHEME) !=
            CURLUE_OK) {
        return {};
    }
    return part(url, CURLUPART_URL);
}

bool platform::isLoopback(const std::string& host) {
    return isLocalName(host) || isLoopback4(host) || isLoopback6(host);
}
