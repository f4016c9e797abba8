#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "web/RequestHead.h"

namespace corvidctl {

/// Decides who gets in. Knows nothing but the request's head; any thread.
class Gate {
public:
    enum class Entrance {
        Open,     ///< the request is to be answered
        ByLink,   ///< it has the token of the link: the browser is to be given the cookie
        Refused,  ///< and the refusal says why
    };
    struct Verdict {
        Entrance entrance = Entrance::Refused;
        Refusal refusal;
    };

    /// @param port the one that the server listens on.
    /// @param token what the link carries, of letters and digits.
    Gate(std::uint16_t port, std::string token);

    /// The first that is wrong decides, in this order: the host, the site that the request comes from, the token, the
    /// method, the body's type. Who has not got the token learns nothing about what there is.
    Verdict judge(const RequestHead& head) const;

    /// What a person opens.
    std::string link() const;

    /// What the browser keeps, as the value of Set-Cookie.
    std::string cookie() const;

private:
    bool isOwnHost(std::string_view host) const;
    bool isAskedForByName(const RequestHead& head) const;
    bool comesFromOwnPage(const RequestHead& head) const;
    bool hasLink(const RequestHead& head) const;
    bool hasCookie(const RequestHead& head) const;
    std::string cookieStart() const;

    const std::string port_;
    const std::string token_;
};

}  // namespace corvidctl
