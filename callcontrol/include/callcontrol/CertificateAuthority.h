#pragma once

#include <memory>
#include <string>
#include <vector>

namespace callcontrol {

/// A certificate with its private key, both PEM (RFC 7468).
struct Credentials {
    std::string certificate;
    std::string privateKey;
};

/// What a certificate is to say.
struct CertificateRequest {
    std::vector<std::string> names;  ///< host names and IP addresses, as subject alternative names; at least one
    int validFromDays = -1;          ///< days from now; may be negative
    int validToDays = 30;
};

/// A throw-away certificate authority: its key (P-256) exists only in memory, for the life of the object.
/// Any thread after construction. Failures of the cryptographic library are thrown as std::runtime_error.
class CertificateAuthority {
public:
    CertificateAuthority();
    ~CertificateAuthority();

    CertificateAuthority(const CertificateAuthority&) = delete;
    CertificateAuthority& operator=(const CertificateAuthority&) = delete;

    /// The authority's own certificate: whoever trusts it trusts all that issue() gives.
    const std::string& certificate() const;

    Credentials issue(const CertificateRequest& request) const;

    /// A certificate that nobody has vouched for.
    static Credentials selfSigned(const CertificateRequest& request);

private:
    struct Keys;
    const std::unique_ptr<Keys> keys_;
};

}  // namespace callcontrol
