#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "web/Refusal.h"

namespace httplib {
struct Request;
}

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
    /// @param mostBytes of a request's body.
    Gate(std::uint16_t port, std::string token, std::size_t mostBytes);

    /// The first that is wrong decides, in this order: the host, the site that the request comes from, the token, the
    /// method, the body's type and its size. Who has not got the token learns nothing about what there is.
    /// @param request its body has not been read.
    Verdict judge(const httplib::Request& request) const;

    /// What a person opens.
    std::string link() const;

    /// What the browser keeps, as the value of Set-Cookie.
    std::string cookie() const;

    /// What takes the cookies of earlier inspectors from a browser that has gathered many, as values of Set-Cookie:
    /// each makes the head of every request longer, up to where it is too large to be read. None as long as they are
    /// few, since other inspectors may be running.
    std::vector<std::string> farewellsToOldCookies(const httplib::Request& request) const;

private:
    bool isOwnHost(std::string_view host) const;
    bool isAskedForByName(const httplib::Request& request) const;
    bool comesFromOwnPage(const httplib::Request& request) const;
    bool hasLink(const httplib::Request& request) const;
    bool hasCookie(const httplib::Request& request) const;
    std::string cookieStart() const;
    Verdict judgeMethod(const httplib::Request& request) const;
    Verdict judgeBody(const httplib::Request& request) const;

    const std::string port_;
    const std::string token_;
    const std::size_t mostBytes_;
};

}  // namespace corvidctl
