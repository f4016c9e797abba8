#include "impl/http/RedirectRule.h"

#include "impl/http/WebUrl.h"

bool platform::isRedirect(long status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

bool platform::mayFollow(const std::string& from, const std::string& to) {
    const std::optional<WebUrl> here = parseWebUrl(from);
    const std::optional<WebUrl> there = parseWebUrl(to);
    return here && there && here->scheme == there->scheme && here->host == there->host && here->port == there->port;
}
