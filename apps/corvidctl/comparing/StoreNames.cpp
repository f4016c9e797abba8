#include "comparing/StoreNames.h"

#include <algorithm>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "quill/StringUtils.h"

namespace corvidctl {

using QuillCoreUtils::caseInsensitiveStringEquals;

bool isNameOfCachedCopy(const std::string& name) {
    const std::string lower = QuillCoreUtils::toLowercase(name);
    const std::string shortest = QuillCoreUtils::toLowercase(CacheFiles::nameFor(""));
    const bool isProvisioning = caseInsensitiveStringEquals(
        name, CacheFiles::nameFor(ConfigStoreConstants::URL_PROVISIONING_CONFIG_STORE_NAME));
    return lower.size() > shortest.size() && lower.starts_with("cached") && lower.ends_with(".xml") &&
           lower.find('/') == std::string::npos && !isProvisioning;
}

bool isNameOfStore(const std::string& name) {
    using namespace ConfigStoreConstants;
    const std::string known[] = {TFTP_OVERRIDE_CONFIG_STORE_NAME,    LOCAL_FILE_STORE_NAME, TFTP_CONFIG_STORE_NAME,
                                 URL_PROVISIONING_CONFIG_STORE_NAME, BOOTSTRAP_STORE_NAME,  IN_MEMORY_CONFIG_STORE_NAME,
                                 DEFAULT_CONFIG_STORE_FILE_NAME};
    return isNameOfCachedCopy(name) || std::any_of(std::begin(known), std::end(known), [&name](const auto& one) {
               return caseInsensitiveStringEquals(one, name);
           });
}

const Layer* findLayer(const std::vector<Layer>& layers, const std::string& name) {
    const auto found = std::find_if(layers.begin(), layers.end(), [&name](const Layer& layer) {
        return caseInsensitiveStringEquals(layer.store, name);
    });
    return found == layers.end() ? nullptr : &*found;
}

std::string listOfStores(const std::vector<Layer>& layers) {
    std::string list;
    for (const Layer& layer : layers) {
        list += (list.empty() ? "" : ", ") + layer.store;
    }
    return list;
}

}  // namespace corvidctl
