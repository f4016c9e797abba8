#include "TlsContext.h"

#include <openssl/pem.h>

namespace callcontrol {

namespace {

Owned<BIO> readerOf(const std::string& text) {
    return Owned<BIO>(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

/// Nobody is at hand who could type a passphrase, which the library would ask for on the terminal.
int noPassphrase(char*, int, int, void*) { return -1; }

Owned<X509> readCertificate(const std::string& pem) {
    Owned<X509> certificate(PEM_read_bio_X509(readerOf(pem).get(), nullptr, noPassphrase, nullptr));
    require(certificate != nullptr, "the certificate cannot be read");
    return certificate;
}

Owned<EVP_PKEY> readPrivateKey(const std::string& pem) {
    Owned<EVP_PKEY> key(PEM_read_bio_PrivateKey(readerOf(pem).get(), nullptr, noPassphrase, nullptr));
    require(key != nullptr, "the private key cannot be read");
    return key;
}

}  // namespace

Owned<SSL_CTX> makeServerContext(const Credentials& credentials) {
    Owned<SSL_CTX> context(SSL_CTX_new(TLS_server_method()));
    require(context && SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) == 1, "TLS cannot be set up");
    require(SSL_CTX_use_certificate(context.get(), readCertificate(credentials.certificate).get()) == 1,
            "the certificate cannot be used");
    require(SSL_CTX_use_PrivateKey(context.get(), readPrivateKey(credentials.privateKey).get()) == 1,
            "the private key does not belong to the certificate");
    // Each connection is a fresh one: a client that no longer trusts this server is not to get in by an old session.
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_options(context.get(), SSL_OP_NO_TICKET);
    SSL_CTX_set_num_tickets(context.get(), 0);
    return context;
}

}  // namespace callcontrol
