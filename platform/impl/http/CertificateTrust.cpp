#include "impl/http/CertificateTrust.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include <openssl/err.h>
#include <openssl/ssl.h>

#include "tessel/TesselLogger.h"

namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("CurlTransport");
    return instance;
}

void onTlsEvent(const SSL* connection, int where, int alert) {
    if (where == SSL_CB_READ_ALERT && (alert & 0xff) == SSL_AD_CLOSE_NOTIFY) {
        static_cast<platform::TlsPeer*>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(connection)))->endTold = true;
    }
}

}  // namespace

namespace platform {

CertificateTrust::CertificateTrust(std::string caFile) : caFile_(std::move(caFile)) {}

void CertificateTrust::apply(TlsPeer& peer, CURL* handle) {
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(handle, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    // A resumed session would be trusted by what was read for an earlier connection.
    curl_easy_setopt(handle, CURLOPT_SSL_SESSIONID_CACHE, 0L);
    // The authorities come from prepare() alone: a bundle that libcurl cannot read would end every connection, also
    // those to servers that the extra file vouches for.
    curl_easy_setopt(handle, CURLOPT_CAINFO, nullptr);
    curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
    // Connections would share one set of authorities, to which each adds.
    curl_easy_setopt(handle, CURLOPT_CA_CACHE_TIMEOUT, 0L);
    curl_easy_setopt(handle, CURLOPT_SSL_CTX_FUNCTION, &CertificateTrust::prepare);
    curl_easy_setopt(handle, CURLOPT_SSL_CTX_DATA, &peer);
}

CURLcode CertificateTrust::prepare(CURL*, void* context, void* peer) {
    auto* const tls = static_cast<SSL_CTX*>(context);
    static_cast<TlsPeer*>(peer)->trust.addAuthorities(tls);
    // libcurl takes a connection that somebody has cut off for one that has ended.
    SSL_CTX_set_app_data(tls, peer);
    SSL_CTX_set_info_callback(tls, onTlsEvent);
    // libcurl writes the keys of connections to the file that SSLKEYLOGFILE names; whoever sets it must not read along.
    SSL_CTX_set_keylog_callback(tls, nullptr);
    // A document may hold secrets.
    SSL_CTX_set_options(tls, SSL_OP_CLEANSE_PLAINTEXT);
    return CURLE_OK;
}

void CertificateTrust::addAuthorities(SSL_CTX* context) {
    SSL_CTX_set_default_verify_paths(context);
    // A pipe would be waited for, once and for ever, by everybody's transfers, and a device need not end.
    std::error_code unseen;
    const bool complete = caFile_.empty() || (std::filesystem::is_regular_file(caFile_, unseen) &&
                                              SSL_CTX_load_verify_file(context, caFile_.c_str()) == 1);
    ERR_clear_error();  // what is left there would count as a failure of the connection
    if (!complete && !warned_.exchange(true)) {
        TesselLog(logger(), 3, __FILE__, __LINE__, __func__, "No certificates can be read from: " + caFile_);
    }
}

}  // namespace platform
