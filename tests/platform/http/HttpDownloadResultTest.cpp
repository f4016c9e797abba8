#include "http/HttpDownloadResult.h"

using namespace HttpDownloader::HttpDownloadResultEnum;

TEST(HttpDownloadResult, SuccessIsZero) { EXPECT_EQ(static_cast<int>(Success), 0); }

TEST(HttpDownloadResult, IsDescribedInAFewWords) {
    EXPECT_STREQ(describe(Success), "done");
    EXPECT_STREQ(describe(Failed), "the transfer failed");
    EXPECT_STREQ(describe(Cancelled), "cancelled");
    EXPECT_STREQ(describe(MalformedUrl), "the address makes no valid URL");
    EXPECT_STREQ(describe(NameNotResolved), "the host name does not resolve");
    EXPECT_STREQ(describe(ConnectionFailed), "no connection to the server");
    EXPECT_STREQ(describe(TlsFailed), "no TLS connection to the server");
    EXPECT_STREQ(describe(CertificateRejected), "the server's certificate is not trusted");
    EXPECT_STREQ(describe(TimedOut), "the server took too long");
    EXPECT_STREQ(describe(StatusRefused), "the server has no such file, or refused it");
    EXPECT_STREQ(describe(RedirectRefused), "the server redirects where a download must not follow");
    EXPECT_STREQ(describe(BodyTooLarge), "the file is larger than 16 MiB");
    EXPECT_STREQ(describe(BodyCut), "the connection ended before the file did");
    EXPECT_STREQ(describe(NoTransport), "the host has no network");
    EXPECT_STREQ(describe(BodyEmpty), "the server sent an empty file");
    EXPECT_STREQ(describe(BodyCoded), "the server compressed the file, which nobody asked for");
    EXPECT_STREQ(describe(BodyOverrun), "the server sent more than the length that it stated");
}

TEST(HttpDownloadResult, IsDescribedEvenIfItIsUnknown) {
    EXPECT_STREQ(describe(static_cast<HttpDownloadResult>(17)), "the transfer failed");
}
