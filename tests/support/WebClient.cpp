#include "support/WebClient.h"

#include <curl/curl.h>

#include <memory>

namespace support {

namespace {

struct EasyFree {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};

using Easy = std::unique_ptr<CURL, EasyFree>;

std::size_t appendTo(char* data, std::size_t, std::size_t size, void* text) {
    static_cast<std::string*>(text)->append(data, size);
    return size;
}

std::size_t takeHeader(char* data, std::size_t, std::size_t size, void* answer) {
    const std::string line(data, size);
    const std::string name = "Content-Length: ";
    if (line.rfind(name, 0) == 0) {
        static_cast<WebAnswer*>(answer)->contentLength = line.substr(name.size(), line.find('\r') - name.size());
    }
    return size;
}

void trustOnly(CURL* handle, const std::string& certificates) {
    curl_blob blob{const_cast<char*>(certificates.data()), certificates.size(), CURL_BLOB_COPY};
    curl_easy_setopt(handle, CURLOPT_CAINFO_BLOB, &blob);
    curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
}

}  // namespace

WebAnswer WebClient::send(const std::string& method, const std::string& url) const {
    WebAnswer answer;
    const Easy handle(curl_easy_init());
    curl_easy_setopt(handle.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle.get(), CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(handle.get(), CURLOPT_PROXY, "");
    curl_easy_setopt(handle.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle.get(), CURLOPT_CUSTOMREQUEST, method.c_str());
    curl_easy_setopt(handle.get(), CURLOPT_NOBODY, method == "HEAD" ? 1L : 0L);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, appendTo);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, &answer.body);
    curl_easy_setopt(handle.get(), CURLOPT_HEADERFUNCTION, takeHeader);
    curl_easy_setopt(handle.get(), CURLOPT_HEADERDATA, &answer);
    trustOnly(handle.get(), trusted_);

    const CURLcode code = curl_easy_perform(handle.get());
    answer.arrived = code == CURLE_OK;
    answer.trusted = code != CURLE_PEER_FAILED_VERIFICATION;
    curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &answer.status);
    const char* type = nullptr;
    curl_easy_getinfo(handle.get(), CURLINFO_CONTENT_TYPE, &type);
    answer.contentType = type == nullptr ? "" : type;
    return answer;
}

}  // namespace support
