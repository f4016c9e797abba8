#pragma once

#include <curl/curl.h>
#include <openssl/types.h>

#include <atomic>
#include <string>

namespace platform {

class CertificateTrust;

/// One side of a handle's TLS connections: whom it trusts, and what it has heard.
struct TlsPeer {
    CertificateTrust& trust;
    bool endTold = false;  ///< the other side has said that it is at its end (close_notify): nobody cut it off
};

/// Which certificates are trusted: those of the system's authorities, and a file of further ones. Any thread.
class CertificateTrust {
public:
    /// @param caFile PEM; empty: none. Read anew at each connection. If it cannot be read, or is no regular file, a
    /// level 3 line says so, once.
    explicit CertificateTrust(std::string caFile);

    CertificateTrust(const CertificateTrust&) = delete;
    CertificateTrust& operator=(const CertificateTrust&) = delete;

    /// Makes the handle verify its peers by the trust, and tell what it hears. @param peer must outlive the handle.
    static void apply(TlsPeer& peer, CURL* handle);

private:
    static CURLcode prepare(CURL* handle, void* context, void* peer);
    void addAuthorities(SSL_CTX* context);

    const std::string caFile_;
    std::atomic<bool> warned_ = false;
};

}  // namespace platform
