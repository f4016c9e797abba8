#include "impl/http/CurlResult.h"

#include <utility>
#include <vector>

using namespace HttpDownloader::HttpDownloadResultEnum;
using platform::resultOf;

TEST(CurlResult, TellsHowAnExchangeEnded) {
    const std::vector<std::pair<CURLcode, HttpDownloadResult>> table = {
        {CURLE_OK, Success},
        {CURLE_ABORTED_BY_CALLBACK, Cancelled},
        {CURLE_URL_MALFORMAT, MalformedUrl},
        {CURLE_COULDNT_RESOLVE_HOST, NameNotResolved},
        {CURLE_COULDNT_RESOLVE_PROXY, ConnectionFailed},
        {CURLE_PROXY, ConnectionFailed},
        {CURLE_COULDNT_CONNECT, ConnectionFailed},
        {CURLE_GOT_NOTHING, ConnectionFailed},
        {CURLE_SEND_ERROR, ConnectionFailed},
        {CURLE_RECV_ERROR, ConnectionFailed},
        {CURLE_SSL_CONNECT_ERROR, TlsFailed},
        {CURLE_SSL_CIPHER, TlsFailed},
        {CURLE_SSL_CACERT_BADFILE, TlsFailed},
        {CURLE_SSL_SHUTDOWN_FAILED, TlsFailed},
        {CURLE_PEER_FAILED_VERIFICATION, CertificateRejected},
        {CURLE_SSL_ISSUER_ERROR, CertificateRejected},
        {CURLE_SSL_INVALIDCERTSTATUS, CertificateRejected},
        {CURLE_OPERATION_TIMEDOUT, TimedOut},
        {CURLE_PARTIAL_FILE, BodyCut},
        {CURLE_UNSUPPORTED_PROTOCOL, Failed},
        {CURLE_WEIRD_SERVER_REPLY, Failed},
        {CURLE_OUT_OF_MEMORY, Failed},
        {CURLE_WRITE_ERROR, Failed},
    };
    for (const auto& [code, result] : table) {
        EXPECT_EQ(resultOf(code, false), result) << "code " << code;
    }
}

TEST(CurlResult, TakesABrokenConnectionForACutBodyOnceThereIsAnAnswer) {
    EXPECT_EQ(resultOf(CURLE_RECV_ERROR, true), BodyCut);
    EXPECT_EQ(resultOf(CURLE_SEND_ERROR, true), BodyCut);
    EXPECT_EQ(resultOf(CURLE_PARTIAL_FILE, true), BodyCut);
    EXPECT_EQ(resultOf(CURLE_OPERATION_TIMEDOUT, true), TimedOut);
}
