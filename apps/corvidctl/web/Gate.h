#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

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
    /// @param place a folder that nobody else's server has, "/4f1c/" say.
    /// @param mostBytes of a request's body.
    Gate(std::uint16_t port, std::string token, std::string place, std::size_t mostBytes);

    /// The first that is wrong decides, in this order: the host, the site that the request comes from, the token, the
    /// method, the body's type and its size. Who has not got the token learns nothing about what there is.
    /// @param request its body has not been read.
    Verdict judge(const httplib::Request& request) const;

    /// What a person opens.
    std::string link() const;

    /// Where browsers find the page. Everything there is at the same path without this folder, too.
    const std::string& place() const { return place_; }

    /// What the browser keeps, as the value of Set-Cookie. It comes back for the place alone: browsers do not keep the
    /// cookies of a host's ports apart, so another server of this machine would get it otherwise.
    std::string cookie() const;

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
    const std::string place_;
    const std::size_t mostBytes_;
};

}  // namespace corvidctl
