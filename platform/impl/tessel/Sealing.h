#pragma once

#include <optional>
#include <string>

namespace tessel {

/// Enciphers a text with AES-256-GCM under the key of this process, which is made on first use, under a fresh random
/// nonce. @return nonce (12 bytes), ciphertext, tag (16 bytes); nothing if the cipher library fails or the text is
/// longer than it can count. Any thread.
std::optional<std::string> seal(const std::string& clearText);

/// The text that seal() enciphered in this process, for the caller to wipe; nothing if a byte of it was changed.
/// Any thread.
std::optional<std::string> unseal(const std::string& sealed);

}  // namespace tessel
