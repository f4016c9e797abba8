#pragma once

#include <string>

#include "DownloadStep.h"

namespace simulation {

/// The decision restated: whether new details deserve a download.
struct ModelDecision {
    bool allowed = true;
    int level = 4;
    std::string reason;
};

bool detailsHaveChanged(const ServerDetails& last, const ServerDetails& now, bool tftpConfigured);

/// @param successful the address that most recently delivered a file; empty for none.
ModelDecision decideOn(const ServerDetails& last, const std::wstring& successful, const ServerDetails& now);

}  // namespace simulation
