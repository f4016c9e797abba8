#pragma once

#include <string>

#include "tessel/SecureString.h"

namespace tessel {

/// Turns secrets into text that can travel through a map of strings, and back. Any thread.
class StringEncryptionFacility {
public:
    /// The base64 form of a SecureString made from the text. The argument is the caller's to wipe.
    static std::string encryptEncodeString(const std::string& clearText);

    /// The secret behind a text that encryptEncodeString made in this process; not isValid() for any other text.
    static SecureString decodeEncryptedString(const std::string& text);
};

}  // namespace tessel
