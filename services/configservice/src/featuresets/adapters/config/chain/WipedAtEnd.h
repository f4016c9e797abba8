#pragma once

#include <string>
#include <vector>

#include "tessel/SecureStringUtils.h"

/// Overwrites a text, narrow or wide, or several ones, at the end of a scope, whichever way it is left. What is
/// overwritten must outlive it.
template <typename Text>
class WipedAtEnd {
public:
    explicit WipedAtEnd(Text& text) : text_(text) {}
    ~WipedAtEnd() { wipe(text_); }

    WipedAtEnd(const WipedAtEnd&) = delete;
    WipedAtEnd& operator=(const WipedAtEnd&) = delete;

private:
    static void wipe(std::string& text) { tessel::SecureStringUtils::TesselZeroString(text); }
    static void wipe(std::wstring& text) { tessel::SecureStringUtils::TesselZeroWstring(text); }

    template <typename One>
    static void wipe(std::vector<One>& texts) {
        for (One& text : texts) {
            wipe(text);
        }
    }

    Text& text_;
};
