#include "DataReset.h"

#include <algorithm>
#include <iterator>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "quill/StringUtils.h"

bool DataReset::keeps(const std::string& fileName) {
    const std::string kept[] = {CacheFiles::nameFor(ConfigStoreConstants::URL_PROVISIONING_CONFIG_STORE_NAME),
                                "deviceData3.properties", ConfigStoreConstants::TFTP_OVERRIDE_FILE_NAME,
                                "installationId.txt"};
    return std::any_of(std::begin(kept), std::end(kept), [&](const std::string& name) {
        return QuillCoreUtils::caseInsensitiveStringEquals(name, fileName);
    });
}
