#include "impl/http/CurlResult.h"

using namespace HttpDownloader::HttpDownloadResultEnum;

HttpDownloadResult platform::resultOf(CURLcode code, bool answering) {
    switch (code) {
    case CURLE_OK:
        return Success;
    case CURLE_ABORTED_BY_CALLBACK:
        return Cancelled;
    case CURLE_URL_MALFORMAT:
        return MalformedUrl;
    case CURLE_COULDNT_RESOLVE_HOST:
        return NameNotResolved;
    case CURLE_OPERATION_TIMEDOUT:
        return TimedOut;
    case CURLE_PARTIAL_FILE:
        return BodyCut;
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
        return answering ? BodyCut : ConnectionFailed;
    case CURLE_COULDNT_CONNECT:
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_PROXY:
    case CURLE_GOT_NOTHING:
        return ConnectionFailed;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
        return CertificateRejected;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_SHUTDOWN_FAILED:
        return TlsFailed;
    default:
        return Failed;
    }
}
