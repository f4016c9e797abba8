#pragma once

#include <optional>
#include <string>
#include <vector>

#include "web/Gate.h"

/// What a gate says of a request as the HTTP library reads it.
/// @param text the request's bytes, at least to the end of its head.
/// @return nothing if the library does not take it for a request.
std::optional<corvidctl::Gate::Verdict> judgeText(const corvidctl::Gate& gate, const std::string& text);

/// The bodies of the changes that a whole exchange hands over, in their order, on a connection whose client says a text
/// and ends. The port is 8080, the token "5ec8e7"; heads have at most 2048 bytes, bodies 65536.
/// @param text no longer than a socket holds at once; so are the answers to it, which nobody reads.
std::vector<std::string> changesHandedOver(const std::string& text);
