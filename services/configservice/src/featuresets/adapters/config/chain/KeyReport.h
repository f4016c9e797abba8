#pragma once

#include <span>
#include <string>

#include "chain/FoldedKey.h"

/// The state of a key as ConfigStoreManager_Observer is told it, by reference: the texts are good for the length of the
/// call that hands the report over.
struct KeyReport {
    /// Under its current name.
    const FoldedKey& key;
    const std::wstring& value;
    const std::wstring& originalValue;
    bool isOverridden = false;
    bool isDefined = false;
    const std::wstring& valueStoreName;
    const std::wstring& originalValueStoreName;
    /// State alone: nobody is told before fireIfRequired().
    bool silent = false;
};

/// What an observer of the module's own implements beside ConfigStoreManager_Observer, to be told without a copy of
/// each text. It is told in this way alone then, on the same thread, under the same locks and in the same order.
class KeyReportReceiver {
public:
    virtual ~KeyReportReceiver() = default;

    /// In the place of onConfigAddedOrUpdated().
    virtual void takeReport(const KeyReport& report) = 0;

    /// In the place of onFireIfRequired().
    virtual void fireIfRequired(const FoldedKey& key) = 0;

    /// A hint in the midst of many reports: those of these keys, or their fires, come next. The receiver may fetch what
    /// it will need for them, and changes nothing.
    virtual void expect(std::span<const FoldedKey> keys) = 0;
};
