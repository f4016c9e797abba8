#pragma once

#include <optional>
#include <string>

namespace corvidctl {

class ChainReader;

/// The key that was probably meant by one that no store holds: one that this system knows, or that a store holds.
/// Dispatcher thread. @return nothing if the key is known, or close to none.
std::optional<std::string> keyMeantBy(const std::wstring& key, const ChainReader& reader);

}  // namespace corvidctl
