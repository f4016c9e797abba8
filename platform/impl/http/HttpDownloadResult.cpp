#include "http/HttpDownloadResult.h"

const char* HttpDownloader::HttpDownloadResultEnum::describe(HttpDownloadResult result) {
    switch (result) {
    case Success:
        return "done";
    case Failed:
        return "the transfer failed";
    case Cancelled:
        return "cancelled";
    case MalformedUrl:
        return "the address makes no valid URL";
    case NameNotResolved:
        return "the host name does not resolve";
    case ConnectionFailed:
        return "no connection to the server";
    case TlsFailed:
        return "no TLS connection to the server";
    case CertificateRejected:
        return "the server's certificate is not trusted";
    case TimedOut:
        return "the server took too long";
    case StatusRefused:
        return "the server has no such file, or refused it";
    case RedirectRefused:
        return "the server redirects where a download must not follow";
    case BodyTooLarge:
        return "the file is larger than 16 MiB";
    case BodyCut:
        return "the connection ended before the file did";
    case NoTransport:
        return "the host has no network";
    case BodyEmpty:
        return "the server sent an empty file";
    case BodyCoded:
        return "the server compressed the file, which nobody asked for";
    case BodyOverrun:
        return "the server sent more than the length that it stated";
    }
    return "the transfer failed";
}
