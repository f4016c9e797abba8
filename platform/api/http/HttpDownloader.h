#pragma once

#include <boost/function.hpp>

#include <cstdint>
#include <string>

#include "http/HttpDownloadResult.h"

namespace HttpDownloader {

/// Downloads documents over HTTP and HTTPS (RFC 9110) in the background. Any thread.
///
/// What is allowed: the schemes http and https; at most three redirects, all to the same scheme, host and port; a body
/// of at most 16 MiB that is as long as its head states, and not compressed, be it that the head does not say so. A
/// body over HTTP of which no length is stated ends with its connection, however that came to its end: it has to be an
/// XML document that is closed. Over HTTPS the end has to be told in the way of TLS. Certificates are verified against
/// the system's authorities and those that the host names besides. Proxies of the environment are used, but not for
/// loopback addresses.
///
/// The host's transport (platform::World) does the work. Transfers go on when their downloader is gone.
class HttpDownloader {
public:
    /// Total size in bytes, 0 if it is not known, and how much of it has arrived. On the transport's own thread.
    using Progress = boost::function<void(double, double)>;

    /// The body, complete only for Success, and how the transfer ended. The body may be changed, and wiped; what is
    /// left of it is overwritten afterwards.
    using Completion = boost::function<void(std::string&, HttpDownloadResultEnum::HttpDownloadResult)>;

    HttpDownloader();

    HttpDownloader(const HttpDownloader&) = delete;
    HttpDownloader& operator=(const HttpDownloader&) = delete;

    /// Starts a transfer and returns at once; several may run.
    /// @param progress may be empty.
    /// @param completion runs once for each transfer, whatever its end, on a thread of the transport that holds no
    ///        lock; transfers may be started and cancelled from inside, and this object be destroyed. Without a
    ///        transport it runs on the thread pool, with NoTransport. If the host has ended both, it does not run any
    ///        more, with a level 3 line.
    /// @param timeout in seconds, for the whole transfer, connecting and redirects included; at least 1.
    void DownloadToString(const std::string& url, const Progress& progress, const Completion& completion, long timeout);

    /// Ends all transfers of this object that run, with Cancelled, and returns at once: their completions run later.
    /// A transfer that has ended by itself, but whose completion has not run yet, keeps its result.
    void CancelCurrentTransfer();

private:
    const std::uint64_t id_;
};

}  // namespace HttpDownloader
