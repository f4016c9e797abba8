#include "validating/FilePlace.h"

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "quill/StringUtils.h"

namespace corvidctl {

namespace {

bool isCopyOfAStore(const std::string& fileName) {
    const std::string name = QuillCoreUtils::toLowercase(fileName);
    return name.starts_with("cached") && name.ends_with(".xml");
}

}  // namespace

FilePlace placeOf(const std::string& fileName, ValidationView::Form form) {
    using namespace ConfigStoreConstants;
    const auto is = [&fileName](const std::string& name) {
        return QuillCoreUtils::caseInsensitiveStringEquals(fileName, name);
    };
    if (form == ValidationView::Form::Properties) {
        return FilePlace::BootstrapFile;
    }
    if (form == ValidationView::Form::LocalFile) {
        return is(DEFAULT_CONFIG_STORE_FILE_NAME) ? FilePlace::DefaultsFile : FilePlace::UserFile;
    }
    if (is(TFTP_OVERRIDE_FILE_NAME)) {
        return FilePlace::OverrideFile;
    }
    if (is(CacheFiles::nameFor(URL_PROVISIONING_CONFIG_STORE_NAME))) {
        return FilePlace::ProvisioningCache;
    }
    return isCopyOfAStore(fileName) ? FilePlace::CachedFile : FilePlace::ServerFile;
}

}  // namespace corvidctl
