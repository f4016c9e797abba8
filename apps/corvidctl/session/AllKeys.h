#pragma once

#include <string>
#include <vector>

#include "session/Session.h"

namespace corvidctl {

/// Every key that some store holds or that a live object exists for, in key order. Keys of stores come first, so that
/// their spelling counts. Dispatcher thread.
std::vector<std::wstring> allKeys(Session::Inside& inside);

}  // namespace corvidctl
