#pragma once

#include <string>

/// Told of every change of the chain's answers. Called synchronously on the thread that made the change, with the
/// manager's observer lock held and usually the chain lock too: moving the work elsewhere is the observer's business,
/// and it must not wait for another thread that calls the manager. On the same thread it may call the manager at will.
class ConfigStoreManager_Observer {
public:
    virtual ~ConfigStoreManager_Observer() = default;

    /// Fire what silent reports for this key have left pending.
    virtual void onFireIfRequired(std::wstring key) = 0;

    /// The key has been marked as sensitive. Under the observer lock alone, so this one must not call the manager.
    virtual void onSensitiveKeyAddedOrUpdated(std::wstring key) = 0;

    /// The whole new state of a key, under its current name.
    /// @param value the winning value, real text even for a sensitive key.
    /// @param originalValue the value of the first read-only store that has the key; empty if none has.
    /// @param isOverridden a writable store stands ahead of the read-only stores for this key.
    /// @param isDefined some store holds the key.
    /// @param silent update state, but fire nothing until onFireIfRequired().
    virtual void onConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue,
                                        bool isOverridden, bool isDefined, std::wstring valueStoreName,
                                        std::wstring originalValueStoreName, bool silent) = 0;
};
