#pragma once

#include <string>

#include "tessel/SecureStringUtils.h"

/// Puts a value in the place of a text that stays in memory, and overwrites what a longer former one would leave behind
/// its end: it may have been a secret.
inline void replaceText(std::wstring& text, const std::wstring& value) {
    if (text.size() > value.size()) {
        tessel::SecureStringUtils::TesselZeroMemory(text.data() + value.size(),
                                                    (text.size() - value.size()) * sizeof(wchar_t));
    }
    text = value;
}
