#pragma once

#include <optional>
#include <string>

#include "web/Gate.h"

/// What a gate says of a request as the HTTP library reads it.
/// @param text the request's bytes, at least to the end of its head.
/// @return nothing if the library does not take it for a request.
std::optional<corvidctl::Gate::Verdict> judgeText(const corvidctl::Gate& gate, const std::string& text);
