#pragma once

#include <string>
#include <vector>

#include "tessel/SecureStringUtils.h"

/// Overwrites texts at the end of a scope, whichever way it is left. The texts must outlive it.
class WipedAtEnd {
public:
    explicit WipedAtEnd(std::wstring& text) : text_(&text) {}
    explicit WipedAtEnd(std::vector<std::wstring>& texts) : texts_(&texts) {}

    ~WipedAtEnd() {
        if (text_ != nullptr) {
            tessel::SecureStringUtils::TesselZeroWstring(*text_);
            return;
        }
        for (std::wstring& text : *texts_) {
            tessel::SecureStringUtils::TesselZeroWstring(text);
        }
    }

    WipedAtEnd(const WipedAtEnd&) = delete;
    WipedAtEnd& operator=(const WipedAtEnd&) = delete;

private:
    std::wstring* const text_ = nullptr;
    std::vector<std::wstring>* const texts_ = nullptr;
};
