#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <memory>

#include "ServedFile.h"

namespace {

/// A client that speaks one version of TLS and is content with anything else.
class TlsVersion : public ServedFile {
protected:
    TlsVersion() { server_.start(); }

    /// @return what OpenSSL calls the reason for a failed handshake; 0 if it succeeded.
    int refusalOf(int version, std::uint16_t port) const {
        const std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> context(SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
        SSL_CTX_set_min_proto_version(context.get(), version);
        SSL_CTX_set_max_proto_version(context.get(), version);
        SSL_CTX_set_cipher_list(context.get(), "ALL:@SECLEVEL=0");  // the old versions are no good for more
        const std::unique_ptr<BIO, void (*)(BIO*)> connection(BIO_new_ssl_connect(context.get()), BIO_free_all);
        BIO_set_conn_hostname(connection.get(), (address_ + ":" + std::to_string(port)).c_str());
        ERR_clear_error();
        const bool connected = BIO_do_connect(connection.get()) == 1 && BIO_do_handshake(connection.get()) == 1;
        return connected ? 0 : ERR_GET_REASON(ERR_peek_error());
    }
};

}  // namespace

TEST_F(TlsVersion, IsRefusedBelowOnePointTwo) {
    for (const std::uint16_t port : {SECURE, VERSION}) {
        EXPECT_EQ(refusalOf(TLS1_VERSION, port), SSL_R_TLSV1_ALERT_PROTOCOL_VERSION) << port;
        EXPECT_EQ(refusalOf(TLS1_1_VERSION, port), SSL_R_TLSV1_ALERT_PROTOCOL_VERSION) << port;
    }
}

TEST_F(TlsVersion, IsTakenFromOnePointTwoOn) {
    for (const std::uint16_t port : {SECURE, VERSION}) {
        EXPECT_EQ(refusalOf(TLS1_2_VERSION, port), 0) << port;
        EXPECT_EQ(refusalOf(TLS1_3_VERSION, port), 0) << port;
    }
}
