#pragma once

#include <optional>
#include <string>

namespace tessel {

/// A secret that lies enciphered in memory: AES-256-GCM (NIST SP 800-38D) under a key that is made when the process
/// first needs it and that is never stored. What one process has enciphered no other can read.
class SecureString {
public:
    /// An empty secret.
    SecureString() = default;

    /// Enciphers a text (any bytes, the empty text included). The argument is the caller's to wipe. If the cipher
    /// library fails, isValid() is false and a level 2 line is logged.
    explicit SecureString(const std::string& clearText);

    /// The enciphered form in base64 (RFC 4648, section 4, with padding): nonce, ciphertext, tag. Safe to keep as text.
    /// Empty if not isValid(), which is no form of any secret.
    std::string serializeToBase64() const;

    /// The reverse of serializeToBase64(). A text that is no base64, was tampered with, or comes from another process
    /// gives a SecureString for which isValid() is false.
    static SecureString createFromBase64(const std::string& text);

    /// False if this was made from a text that could not be deciphered, or could not be enciphered.
    bool isValid() const { return valid_; }

    /// The clear text, for the caller to wipe after use; nothing if not isValid().
    std::optional<std::string> reveal() const;

private:
    std::string sealed_;
    bool valid_ = true;
};

}  // namespace tessel
