#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ConfigValueBaseImpl.h"

namespace QuillCoreUtils {
class FirstException;
}

/// The live object of one key: a snapshot of what the chain last said about it. Reads no store; a write goes to the
/// feature set, and comes back through the service. Dispatcher thread only, construction included.
class ConfigValueImpl : public ConfigValueBaseImpl {
public:
    /// A key of which nothing is known yet: undefined, with empty texts.
    ConfigValueImpl(const std::shared_ptr<UnifiedFactory>& factory, const std::wstring& key);

    /// A defined key.
    ConfigValueImpl(const std::shared_ptr<UnifiedFactory>& factory, const std::wstring& key, const std::wstring& value,
                    const std::wstring& originalValue, bool isOverridden, const std::wstring& valueStoreName,
                    const std::wstring& originalValueStoreName);

    /// The stored text, or what the FIPS rule makes of it.
    std::wstring getValue() const override;

    void setConfig(std::wstring value) override;
    bool equals(std::wstring value) override;
    void reset() override;
    bool isValueLocal() override;

    // For the service; not on the clients' interface.

    /// Sets every property, fires nothing and forgets what was pending.
    void initialize(const std::wstring& key, const std::wstring& value, const std::wstring& originalValue,
                    bool isOverridden, bool isDefined, const std::wstring& valueStoreName,
                    const std::wstring& originalValueStoreName);

    /// Takes in a new state and tells observers of each property that differs, one property after another: an observer
    /// of the value still sees the former texts and flags beside it. If an observer causes a newer state to be taken in
    /// meanwhile, the rest of this one is dropped. One that throws keeps neither the other properties nor those who
    /// observe them back: the first exception leaves at the end, each further one is a level 2 line. The caller keeps a
    /// reference to this object, for an observer may drop all others. Neither reads nor clears what silentUpdate() left
    /// pending.
    void update(const std::wstring& value, const std::wstring& originalValue, bool isOverridden, bool isDefined,
                const std::wstring& valueStoreName, const std::wstring& originalValueStoreName);

    /// Takes in a new state and marks each property that differs, for fireRequired(). An undefined object takes
    /// isDefined over and marks it whether it differs or not; a defined one stays defined.
    void silentUpdate(const std::wstring& value, const std::wstring& originalValue, bool isOverridden, bool isDefined,
                      const std::wstring& valueStoreName, const std::wstring& originalValueStoreName);

    /// Tells observers of what silentUpdate() has marked, and leaves no mark. A property that is marked again while its
    /// observers are being told loses that mark. What observers throw leaves at the end, as that of update() does. The
    /// caller keeps a reference to this object.
    void fireRequired();

    /// Fetches ahead, of what silentUpdate() and fireRequired() will read, what lies so many steps from this pointer:
    /// at first the object itself, then the texts, and what is behind the notifier of the value if that is to fire,
    /// since hardly any other is asked for. Reads what lies nearer. @return whether anything lies further.
    bool fetchAhead(unsigned step) const;

    /// The text of getKey() without a copy and without a check of the thread; the same for the object's life.
    const std::wstring& ownKey() const { return storedKey(); }

    /// The text of getValue() without a copy and without a check of the thread. Good until the object changes.
    const std::wstring& currentValue() const;

private:
    void tellAndKeep(void (ConfigValueObserver::*changed)(), QuillCoreUtils::FirstException& thrown);

    std::uint64_t newestState_ = 0;  ///< number of the state that was taken in last
    bool pendingValueFire_ = false;
    bool pendingOriginalValueFire_ = false;
    bool pendingisOverriddenFire_ = false;
    bool pendingisDefinedFire_ = false;
    bool pendingValueStoreNameFire_ = false;
    bool pendingOriginalValueStoreNameFire_ = false;
};
