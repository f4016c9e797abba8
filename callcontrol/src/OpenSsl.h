#pragma once

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <memory>
#include <string>

/// Owning pointers to what the cryptographic library hands out, and its failures as exceptions.
namespace callcontrol {

struct OpenSslFree {
    void operator()(BIO* bio) const { BIO_free(bio); }
    void operator()(BIGNUM* number) const { BN_free(number); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
    void operator()(GENERAL_NAMES* names) const { GENERAL_NAMES_free(names); }
    void operator()(GENERAL_NAME* name) const { GENERAL_NAME_free(name); }
    void operator()(ASN1_STRING* text) const { ASN1_STRING_free(text); }
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
    void operator()(SSL* session) const { SSL_free(session); }
};

template <typename Type>
using Owned = std::unique_ptr<Type, OpenSslFree>;

/// Throws std::runtime_error with the text and the library's reason, and forgets the reason, if there is no success.
void require(bool success, const char* what);

}  // namespace callcontrol
