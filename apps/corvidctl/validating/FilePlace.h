#pragma once

#include <string>

#include "validating/ValidationView.h"

namespace corvidctl {

/// What the module takes a file for, which decides what its keys can do.
enum class FilePlace {
    ServerFile,         ///< any document that is none of the others
    OverrideFile,       ///< the administrator's file in the configuration directory
    CachedFile,         ///< the copy of a store
    ProvisioningCache,  ///< what a provisioning link has set
    UserFile,           ///< any local file but the defaults
    DefaultsFile,       ///< the installation's defaults
    BootstrapFile,      ///< what the installer was told: any file of properties
};

/// @param fileName UTF-8, without a folder; case does not count.
FilePlace placeOf(const std::string& fileName, ValidationView::Form form);

}  // namespace corvidctl
