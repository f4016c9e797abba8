#include "uds/UdsVersionQuery.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

#include "ConfigFeatureSet.h"
#include "ConfigStoreConstants.h"
#include "http/NetUtilsFactory.h"
#include "quill/StringUtils.h"
#include "xml/XmlConfigParser.h"

using QuillCoreUtils::toString;

namespace {

constexpr std::uint32_t MAX_FAILOVER_ATTEMPTS = 3;
constexpr std::int64_t REQUEST_TIMEOUT_MILLISECONDS = 10000;

std::string answerText(const std::string& role, const std::string& address, const std::string& version) {
    return "The UDS server version returned from querying " + role + " '" + address + "' is: " + version;
}

}  // namespace

UdsVersionQuery::UdsVersionQuery(std::shared_ptr<UnifiedFactory> factory, std::shared_ptr<DownloadJournal> journal)
    : factory_(std::move(factory)), journal_(std::move(journal)) {}

TesselLogger* UdsVersionQuery::logger() {
    static TesselLogger* const logger = TesselLogger_getLogger("UdsVersionQuery");
    return logger;
}

std::int32_t UdsVersionQuery::getUdsVersion(const std::string& tftpServer1, const std::string& tftpServer2,
                                            const std::string& tftpServer3) {
    const auto log = [](const std::string& text) { TesselLog(logger(), 4, __FILE__, __LINE__, "getUdsVersion", text); };
    std::string version = getConfigStoreHomeUdsVersion();
    if (!version.empty() && isValidUdsVersion(version)) {
        log("The UDS server version returned from config service key 'HomeUdsVersion' is: " + version);
        return udsVersionStringToInt(version);
    }
    const std::string primary = getHUBCIPServerValue();
    if (!primary.empty()) {
        version = retrieveUdsVersion(primary);
        log(answerText("primary HUBCIP server", primary, version));
    }
    // An invalid stored version that no primary server has replaced keeps the others from being asked.
    if (version.empty()) {
        version = attemptUdsVersionFailover(tftpServer1, tftpServer2, tftpServer3);
    }
    if (version.empty() || !isValidUdsVersion(version)) {
        log("The UDS version is invalid or empty: " + version);
        version.clear();
    } else {
        log("The UDS version is valid. Setting In Memory config Store key to: " + version);
        setInMemoryConfigStoreValue(version);
    }
    log("The UDS version query is complete. Version retrieved is: " + version);
    return udsVersionStringToInt(version);
}

std::string UdsVersionQuery::getConfigStoreHomeUdsVersion() {
    std::wstring value;
    getConfigStoreValue(ConfigStoreConstants::HOME_UDS_VERSION, value, false);
    return toString(value);
}

bool UdsVersionQuery::isValidUdsVersion(std::string version) {
    return version.find_first_not_of("0123456789.") == std::string::npos;
}

std::int32_t UdsVersionQuery::udsVersionStringToInt(const std::string& version) {
    const long long number = std::strtoll(version.c_str(), nullptr, 10);
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(std::clamp<long long>(number, Limits::min(), Limits::max()));
}

std::string UdsVersionQuery::getHUBCIPServerValue() {
    const auto read = [this](const std::wstring& key) {
        std::wstring value;
        getConfigStoreValue(key, value, false);
        return toString(value);
    };
    Servers servers;
    servers.primary = read(ConfigStoreConstants::HUBCIP_SERVER_1_KEY);
    servers.backup1 = read(ConfigStoreConstants::HUBCIP_SERVER_2_KEY);
    servers.backup2 = read(ConfigStoreConstants::HUBCIP_SERVER_3_KEY);
    const tessel::ScopedLock lock(mutex_);
    hubcipServers_ = servers;
    return servers.primary;
}

std::string UdsVersionQuery::retrieveUdsVersion(const std::string& address) {
    {
        const tessel::ScopedLock lock(mutex_);
        recordAttempt(address);
    }
    return request(address);
}

void UdsVersionQuery::recordAttempt(const std::string& address) {
    ++queryAttempts_;
    blacklistedAddresses_.push_back(address);
}

bool UdsVersionQuery::isBlacklisted(const std::string& address) const {
    return std::find(blacklistedAddresses_.begin(), blacklistedAddresses_.end(), address) !=
           blacklistedAddresses_.end();
}

std::string UdsVersionQuery::request(const std::string& address) {
    const std::shared_ptr<tessel::http::BasicHttpClient> client =
        tessel::netutils::NetUtilsFactory().createBasicHttpClient();
    const auto request = std::make_shared<tessel::http::Request>("https://" + address + ":8443/hubm-uds/version");
    request->getOptions()->requestTimeout = REQUEST_TIMEOUT_MILLISECONDS;
    tessel::http::Response response;
    const std::uint64_t query = journal_->beginVersionQuery(address);
    client->send(request, response);
    std::string version = parseUdsVersionResponse(response.getBody());
    journal_->endVersionQuery(query, version);
    return version;
}

std::string UdsVersionQuery::attemptUdsVersionFailover(const std::string& tftpServer1, const std::string& tftpServer2,
                                                       const std::string& tftpServer3) {
    Servers servers;
    {
        const tessel::ScopedLock lock(mutex_);
        servers = hubcipServers_;
    }
    const std::pair<std::string, const char*> candidates[] = {
        {servers.backup1, "backup HUBCIP server1"}, {servers.backup2, "backup HUBCIP server2"},
        {tftpServer1, "the tftp server"},           {tftpServer2, "the tftp server"},
        {tftpServer3, "the tftp server"},
    };
    std::string version;
    for (const auto& [address, role] : candidates) {
        if (version.empty()) {
            version = askOnce(address, role);
        }
    }
    return version;
}

std::string UdsVersionQuery::askOnce(const std::string& address, const std::string& role) {
    {
        // Looked up and recorded in one step, so that two queries at once keep the limit.
        const tessel::ScopedLock lock(mutex_);
        if (address.empty() || queryAttempts_ >= MAX_FAILOVER_ATTEMPTS || isBlacklisted(address)) {
            return {};
        }
        recordAttempt(address);
    }
    std::string version = request(address);
    TesselLog(logger(), 4, __FILE__, __LINE__, "attemptUdsVersionFailover", answerText(role, address, version));
    return version;
}

void UdsVersionQuery::setInMemoryConfigStoreValue(std::string& version) {
    const std::shared_ptr<ConfigFeatureSet> featureSet = factory_->getFeatureSet<ConfigFeatureSet>();
    if (featureSet == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "setInMemoryConfigStoreValue",
                  std::string("There is no feature set to keep the UDS version in."));
        return;
    }
    if (featureSet->setInMemoryConfig(ConfigStoreConstants::HOME_UDS_VERSION, QuillCoreUtils::toWideString(version))) {
        TesselLog(logger(), 4, __FILE__, __LINE__, "setInMemoryConfigStoreValue",
                  "UDS version '" + version + "' is set into In-Memory Config Store");
    } else {
        TesselLog(logger(), 2, __FILE__, __LINE__, "setInMemoryConfigStoreValue",
                  "ERROR: UDS version '" + version + "' was NOT set into In-Memory Config Store");
    }
}

std::string UdsVersionQuery::parseUdsVersionResponse(const std::string& body) {
    if (body.empty()) {
        TesselLog(logger(), 2, __FILE__, __LINE__, "parseUdsVersionResponse",
                  std::string("ERROR: The UDS version http response was empty. Cannot parse the UDS server version."));
        return {};
    }
    return XmlConfigParser::parseUdsVersionFromXmlResponse(body);
}

bool UdsVersionQuery::isAddressBlacklisted(std::string address) const {
    const tessel::ScopedLock lock(mutex_);
    return isBlacklisted(address);
}

bool UdsVersionQuery::getConfigStoreValue(const std::wstring& key, std::wstring& value, bool skipLocal) {
    const std::shared_ptr<ConfigFeatureSet> featureSet = factory_->getFeatureSet<ConfigFeatureSet>();
    if (featureSet == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "getConfigStoreValue",
                  L"There is no feature set to read from: " + key);
        return false;
    }
    featureSet->getConfig(key, value, skipLocal);
    return !value.empty();
}
