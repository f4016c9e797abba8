#include "callcontrol/CertificateAuthority.h"

#include <arpa/inet.h>
#include <openssl/pem.h>

#include <stdexcept>

#include "OpenSsl.h"

namespace callcontrol {

namespace {

using Key = Owned<EVP_PKEY>;
using Certificate = Owned<X509>;

constexpr std::size_t LONGEST_COMMON_NAME = 64;

Key newKey() {
    Key key(EVP_EC_gen("P-256"));
    require(key != nullptr, "a key could not be made");
    return key;
}

/// The certificate above another one: itself, for one that vouches for itself.
struct Issuer {
    X509* certificate;
    EVP_PKEY* key;
};

void addExtension(X509* certificate, const Issuer& issuer, int kind, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer.certificate, certificate, nullptr, nullptr, 0);
    const Owned<X509_EXTENSION> extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value));
    require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "a certificate could not be extended");
}

/// 127 random bits: serial numbers are positive and shorter than 20 bytes, and clients mistake two certificates of one
/// issuer and number for each other.
void setSerialNumber(X509* certificate) {
    const Owned<BIGNUM> number(BN_new());
    require(number && BN_rand(number.get(), 127, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1 &&
                BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr,
            "a serial number could not be made");
}

void setSubject(X509* certificate, const std::string& name) {
    const std::string text = name.substr(0, LONGEST_COMMON_NAME);
    X509_NAME* const subject = X509_get_subject_name(certificate);
    require(X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(text.data()),
                                       static_cast<int>(text.size()), -1, 0) == 1,
            "a certificate could not be named");
}

void setValidity(X509* certificate, int fromDays, int toDays) {
    const auto setTime = [](ASN1_TIME* time, int days) { return X509_time_adj_ex(time, days, 0, nullptr) != nullptr; };
    require(setTime(X509_getm_notBefore(certificate), fromDays) && setTime(X509_getm_notAfter(certificate), toDays),
            "a certificate could not be dated");
}

Certificate newCertificate(const std::string& subject, EVP_PKEY* key, int fromDays, int toDays) {
    Certificate certificate(X509_new());
    require(certificate && X509_set_version(certificate.get(), X509_VERSION_3) == 1 &&
                X509_set_pubkey(certificate.get(), key) == 1,
            "a certificate could not be made");
    setSerialNumber(certificate.get());
    setSubject(certificate.get(), subject);
    setValidity(certificate.get(), fromDays, toDays);
    return certificate;
}

void nameIssuer(X509* certificate, const Issuer& issuer) {
    require(X509_set_issuer_name(certificate, X509_get_subject_name(issuer.certificate)) == 1,
            "a certificate could not be given an issuer");
}

void sign(X509* certificate, const Issuer& issuer) {
    require(X509_sign(certificate, issuer.key, EVP_sha256()) > 0, "a certificate could not be signed");
}

std::string textOf(BIO* bio) {
    const char* data = nullptr;
    const long length = BIO_get_mem_data(bio, &data);
    return {data, static_cast<std::size_t>(length)};
}

std::string toPem(X509* certificate) {
    const Owned<BIO> bio(BIO_new(BIO_s_mem()));
    require(bio && PEM_write_bio_X509(bio.get(), certificate) == 1, "a certificate could not be written");
    return textOf(bio.get());
}

std::string toPem(EVP_PKEY* key) {
    const Owned<BIO> bio(BIO_new(BIO_s_mem()));
    require(bio && PEM_write_bio_PrivateKey(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1,
            "a key could not be written");
    return textOf(bio.get());
}

/// The bytes of an IP address as a certificate carries them, 4 or 16; empty for a host name.
std::string addressBytes(const std::string& name) {
    std::string bytes(16, '\0');
    if (inet_pton(AF_INET, name.c_str(), bytes.data()) == 1) {
        return bytes.substr(0, 4);
    }
    return inet_pton(AF_INET6, name.c_str(), bytes.data()) == 1 ? bytes : std::string();
}

/// Built by hand: in the library's textual form a comma in a name would start another entry.
void addAlternativeName(GENERAL_NAMES* names, const std::string& name) {
    const std::string address = addressBytes(name);
    const std::string& content = address.empty() ? name : address;
    Owned<ASN1_STRING> text(ASN1_STRING_type_new(address.empty() ? V_ASN1_IA5STRING : V_ASN1_OCTET_STRING));
    Owned<GENERAL_NAME> entry(GENERAL_NAME_new());
    require(text && entry && ASN1_STRING_set(text.get(), content.data(), static_cast<int>(content.size())) == 1,
            "a certificate could not be given a name");
    GENERAL_NAME_set0_value(entry.get(), address.empty() ? GEN_DNS : GEN_IPADD, text.release());
    require(sk_GENERAL_NAME_push(names, entry.get()) > 0, "a certificate could not be given a name");
    static_cast<void>(entry.release());  // it belongs to the names now
}

void addAlternativeNames(X509* certificate, const std::vector<std::string>& wanted) {
    const Owned<GENERAL_NAMES> names(GENERAL_NAMES_new());
    require(names != nullptr, "a certificate could not be given a name");
    for (const std::string& name : wanted) {
        addAlternativeName(names.get(), name);
    }
    require(X509_add1_ext_i2d(certificate, NID_subject_alt_name, names.get(), 0, X509V3_ADD_DEFAULT) == 1,
            "a certificate could not be given a name");
}

Certificate newServerCertificate(const CertificateRequest& request, EVP_PKEY* key) {
    if (request.names.empty()) {
        throw std::runtime_error("a certificate needs at least one name");
    }
    return newCertificate(request.names.front(), key, request.validFromDays, request.validToDays);
}

void describeServer(X509* certificate, const Issuer& issuer, const CertificateRequest& request) {
    addExtension(certificate, issuer, NID_basic_constraints, "critical,CA:FALSE");
    addExtension(certificate, issuer, NID_key_usage, "critical,digitalSignature");
    addExtension(certificate, issuer, NID_ext_key_usage, "serverAuth");
    addExtension(certificate, issuer, NID_subject_key_identifier, "hash");
    addExtension(certificate, issuer, NID_authority_key_identifier, "keyid:always");
    addAlternativeNames(certificate, request.names);
}

}  // namespace

struct CertificateAuthority::Keys {
    Key key = newKey();
    Certificate certificate;
    std::string certificateText;
};

CertificateAuthority::CertificateAuthority() : keys_(std::make_unique<Keys>()) {
    // It outlives whatever it may be asked to issue, and began before, so that only a leaf's own dates count.
    constexpr int TEN_YEARS = 3650;
    keys_->certificate = newCertificate("Throw-away test authority", keys_->key.get(), -TEN_YEARS, TEN_YEARS);
    X509* const certificate = keys_->certificate.get();
    const Issuer itself{certificate, keys_->key.get()};
    nameIssuer(certificate, itself);
    addExtension(certificate, itself, NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    addExtension(certificate, itself, NID_key_usage, "critical,keyCertSign,cRLSign");
    addExtension(certificate, itself, NID_subject_key_identifier, "hash");
    sign(certificate, itself);
    keys_->certificateText = toPem(certificate);
}

CertificateAuthority::~CertificateAuthority() = default;

const std::string& CertificateAuthority::certificate() const { return keys_->certificateText; }

Credentials CertificateAuthority::issue(const CertificateRequest& request) const {
    const Issuer authority{keys_->certificate.get(), keys_->key.get()};
    const Key key = newKey();
    const Certificate certificate = newServerCertificate(request, key.get());
    nameIssuer(certificate.get(), authority);
    describeServer(certificate.get(), authority, request);
    sign(certificate.get(), authority);
    return {toPem(certificate.get()), toPem(key.get())};
}

Credentials CertificateAuthority::selfSigned(const CertificateRequest& request) {
    const Key key = newKey();
    const Certificate certificate = newServerCertificate(request, key.get());
    const Issuer itself{certificate.get(), key.get()};
    nameIssuer(certificate.get(), itself);
    describeServer(certificate.get(), itself, request);
    sign(certificate.get(), itself);
    return {toPem(certificate.get()), toPem(key.get())};
}

}  // namespace callcontrol
