#include "callcontrol/CertificateAuthority.h"

#include <openssl/pem.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>

using callcontrol::CertificateAuthority;
using callcontrol::CertificateRequest;
using callcontrol::Credentials;

namespace {

template <typename Type, void (*RELEASE)(Type*)>
struct Release {
    void operator()(Type* object) const { RELEASE(object); }
};

using Certificate = std::unique_ptr<X509, Release<X509, X509_free>>;
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY, EVP_PKEY_free>>;
using Store = std::unique_ptr<X509_STORE, Release<X509_STORE, X509_STORE_free>>;
using Check = std::unique_ptr<X509_STORE_CTX, Release<X509_STORE_CTX, X509_STORE_CTX_free>>;

template <typename Read>
auto readPem(const std::string& text, Read read) {
    BIO* const bio = BIO_new_mem_buf(text.data(), static_cast<int>(text.size()));
    auto* const object = read(bio, nullptr, nullptr, nullptr);
    BIO_free(bio);
    return object;
}

Certificate certificateIn(const std::string& pem) { return Certificate(readPem(pem, PEM_read_bio_X509)); }
Key keyIn(const std::string& pem) { return Key(readPem(pem, PEM_read_bio_PrivateKey)); }

/// What a strict client that trusts nothing else thinks of a server's certificate: X509_V_OK or why not.
int verdict(const std::string& pem, const std::string& trusted) {
    const Store store(X509_STORE_new());
    X509_STORE_add_cert(store.get(), certificateIn(trusted).get());
    const Certificate certificate = certificateIn(pem);
    const Check check(X509_STORE_CTX_new());
    X509_STORE_CTX_init(check.get(), store.get(), certificate.get(), nullptr);
    X509_STORE_CTX_set_purpose(check.get(), X509_PURPOSE_SSL_SERVER);
    X509_STORE_CTX_set_flags(check.get(), X509_V_FLAG_X509_STRICT);
    X509_verify_cert(check.get());
    return X509_STORE_CTX_get_error(check.get());
}

bool isForHost(const std::string& pem, const std::string& name) {
    return X509_check_host(certificateIn(pem).get(), name.c_str(), name.size(), X509_CHECK_FLAG_NEVER_CHECK_SUBJECT,
                           nullptr) == 1;
}

bool isForAddress(const std::string& pem, const std::string& address) {
    return X509_check_ip_asc(certificateIn(pem).get(), address.c_str(), 0) == 1;
}

}  // namespace

TEST(CertificateAuthority, IsTrustedInWhatItIssues) {
    const CertificateAuthority authority;
    const Credentials first = authority.issue({{"one.example.org"}});
    const Credentials second = authority.issue({{"127.0.0.1"}});
    EXPECT_EQ(verdict(first.certificate, authority.certificate()), X509_V_OK);
    EXPECT_EQ(verdict(second.certificate, authority.certificate()), X509_V_OK);
}

TEST(CertificateAuthority, IsNotTrustedInWhatAnotherIssues) {
    const CertificateAuthority authority;
    const CertificateAuthority other;
    const Credentials credentials = other.issue({{"one.example.org"}});
    EXPECT_NE(verdict(credentials.certificate, authority.certificate()), X509_V_OK);
}

TEST(CertificateAuthority, IssuesForTheNamesAskedForAndNoOther) {
    const std::string pem =
        CertificateAuthority().issue({{"one.example.org", "127.1.2.3", "localhost", "::1"}}).certificate;
    EXPECT_TRUE(isForHost(pem, "one.example.org"));
    EXPECT_TRUE(isForHost(pem, "localhost"));
    EXPECT_TRUE(isForAddress(pem, "127.1.2.3"));
    EXPECT_TRUE(isForAddress(pem, "::1"));
    EXPECT_FALSE(isForHost(pem, "two.example.org"));
    EXPECT_FALSE(isForHost(pem, "127.1.2.3"));
    EXPECT_FALSE(isForAddress(pem, "127.1.2.4"));
}

TEST(CertificateAuthority, TakesANameLetterByLetter) {
    const std::string pem = CertificateAuthority().issue({{"a.example.org,DNS:b.example.org"}}).certificate;
    EXPECT_FALSE(isForHost(pem, "b.example.org"));
}

TEST(CertificateAuthority, TakesANameThatIsTooLongForTheSubject) {
    const CertificateAuthority authority;
    const std::string name = std::string(60, 'a') + "." + std::string(60, 'b') + ".example.org";
    const std::string pem = authority.issue({{name}}).certificate;
    EXPECT_EQ(verdict(pem, authority.certificate()), X509_V_OK);
    EXPECT_TRUE(isForHost(pem, name));
}

TEST(CertificateAuthority, NeedsAName) {
    EXPECT_THROW(CertificateAuthority().issue({}), std::runtime_error);
    EXPECT_THROW(CertificateAuthority::selfSigned({}), std::runtime_error);
}

TEST(CertificateAuthority, IssuesForTheTimeAskedFor) {
    const CertificateAuthority authority;
    const auto verdictFor = [&authority](int fromDays, int toDays) {
        return verdict(authority.issue({{"one.example.org"}, fromDays, toDays}).certificate, authority.certificate());
    };
    EXPECT_EQ(verdictFor(-1, 1), X509_V_OK);
    EXPECT_EQ(verdictFor(-30, -1), X509_V_ERR_CERT_HAS_EXPIRED);
    EXPECT_EQ(verdictFor(1, 30), X509_V_ERR_CERT_NOT_YET_VALID);
    EXPECT_EQ(verdictFor(-1000, 1000), X509_V_OK);
}

TEST(CertificateAuthority, GivesTheKeyThatBelongsToTheCertificate) {
    const CertificateAuthority authority;
    const Credentials first = authority.issue({{"one.example.org"}});
    const Credentials second = authority.issue({{"one.example.org"}});
    EXPECT_EQ(X509_check_private_key(certificateIn(first.certificate).get(), keyIn(first.privateKey).get()), 1);
    EXPECT_NE(X509_check_private_key(certificateIn(first.certificate).get(), keyIn(second.privateKey).get()), 1);
}

TEST(CertificateAuthority, GivesEachCertificateANumberOfItsOwn) {
    const CertificateAuthority authority;
    const Certificate first = certificateIn(authority.issue({{"one.example.org"}}).certificate);
    const Certificate second = certificateIn(authority.issue({{"one.example.org"}}).certificate);
    EXPECT_NE(ASN1_INTEGER_cmp(X509_get0_serialNumber(first.get()), X509_get0_serialNumber(second.get())), 0);
}

TEST(CertificateAuthority, IsAnAuthorityAndWhatItIssuesIsNone) {
    const CertificateAuthority authority;
    const Certificate root = certificateIn(authority.certificate());
    const Certificate leaf = certificateIn(authority.issue({{"one.example.org"}}).certificate);
    EXPECT_EQ(X509_check_ca(root.get()), 1);
    EXPECT_EQ(X509_check_ca(leaf.get()), 0);
    EXPECT_EQ(X509_check_purpose(leaf.get(), X509_PURPOSE_SSL_SERVER, 0), 1);
    EXPECT_EQ(X509_check_purpose(leaf.get(), X509_PURPOSE_SSL_CLIENT, 0), 0);
}

TEST(CertificateAuthority, GivesItsCertificateWithoutItsKey) {
    EXPECT_EQ(CertificateAuthority().certificate().find("PRIVATE KEY"), std::string::npos);
}

TEST(CertificateAuthority, VouchesForNothingSelfSigned) {
    const CertificateAuthority authority;
    const Credentials alone = CertificateAuthority::selfSigned({{"one.example.org", "127.0.0.1"}});
    EXPECT_EQ(verdict(alone.certificate, authority.certificate()), X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT);
    EXPECT_TRUE(isForHost(alone.certificate, "one.example.org"));
    EXPECT_TRUE(isForAddress(alone.certificate, "127.0.0.1"));
    EXPECT_EQ(X509_check_private_key(certificateIn(alone.certificate).get(), keyIn(alone.privateKey).get()), 1);
}

TEST(CertificateAuthority, DatesWhatIsSelfSigned) {
    const std::string pem = CertificateAuthority::selfSigned({{"one.example.org"}, -3, -1}).certificate;
    EXPECT_EQ(verdict(pem, pem), X509_V_ERR_CERT_HAS_EXPIRED);
}
