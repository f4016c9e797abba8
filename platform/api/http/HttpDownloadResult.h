#pragma once

namespace HttpDownloader {

/// The ends of a transfer, and their texts.
namespace HttpDownloadResultEnum {

/// How a transfer ended. Everything but Success is a failure; the numbers beyond 0 have no meaning.
enum HttpDownloadResult {
    Success = 0,              ///< the whole body is there, is not empty, and its status is 200 to 299, but not 206
    Failed = 1,               ///< anything that none of the others tells
    Cancelled = 2,            ///< CancelCurrentTransfer(), or the end of the host
    MalformedUrl = 3,         ///< no URL (RFC 3986), or neither http nor https
    NameNotResolved = 4,      ///< no address for the host name
    ConnectionFailed = 5,     ///< refused, unreachable, or broken off before an answer
    TlsFailed = 6,            ///< no TLS connection, for another reason than the certificate
    CertificateRejected = 7,  ///< the chain, the dates or the name of the server's certificate
    TimedOut = 8,
    StatusRefused = 9,     ///< the answer's status is not 200 to 299, or is 206, which brings a part of the body
    RedirectRefused = 10,  ///< to another scheme, host or port, or more than three
    BodyTooLarge = 11,     ///< more than 16 MiB
    BodyCut = 12,          ///< the connection ended, or broke, after the answer's head and before the end of its body
    NoTransport = 13,      ///< the host has no network, or has ended it
    BodyEmpty = 14,        ///< a status of 200 to 299 without a body
    BodyCoded = 15,        ///< compressed, told or untold by the head, or coded in another way that was not asked for
    BodyOverrun = 16,      ///< more came than the answer's head had stated
};

/// In a few words that end a sentence such as "the download failed: ".
const char* describe(HttpDownloadResult result);

}  // namespace HttpDownloadResultEnum

}  // namespace HttpDownloader
