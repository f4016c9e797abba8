#pragma once

#include <curl/curl.h>
#include <openssl/types.h>

#include <atomic>
#include <string>

namespace platform {

/// Which certificates are trusted: those of the system's authorities, and a file of further ones. Any thread.
class CertificateTrust {
public:
    /// @param caFile PEM; empty: none. Read anew at each connection. If it cannot be read, a level 3 line says so,
    /// once.
    explicit CertificateTrust(std::string caFile);

    CertificateTrust(const CertificateTrust&) = delete;
    CertificateTrust& operator=(const CertificateTrust&) = delete;

    /// Makes the handle verify its peers by this trust, which must outlive it.
    void applyTo(CURL* handle);

private:
    static CURLcode prepare(CURL* handle, void* context, void* self);
    void addAuthorities(SSL_CTX* context);

    const std::string caFile_;
    std::atomic<bool> warned_ = false;
};

}  // namespace platform
