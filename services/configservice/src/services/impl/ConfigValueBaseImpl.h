#pragma once

#include <memory>
#include <string>

#include "ConfigValue.h"
#include "SharedText.h"
#include "chain/ReplaceText.h"
#include "tessel/TesselLogger.h"
#include "unified/UnifiedBusinessObjectImpl.h"

// An observer of another layer does not compile: the overloads hide those of the base on purpose.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"

class ConfigValueNotifiersImpl;

/// The properties of a live value: their fields, getters, setters and fires. Dispatcher thread only; getters, setters
/// and fires check it.
///
/// A setter never fires: whoever owns a change decides when its observers hear of it. There is one such object for each
/// key, so notifiers cost nothing before somebody asks for them.
class ConfigValueBaseImpl : public UnifiedBusinessObjectImpl, public ConfigValue {
public:
    static const char* const className;

    explicit ConfigValueBaseImpl(const std::shared_ptr<UnifiedFactory>& factory);

    /// @param checksAccess false: the object's operations may be called on any thread.
    ConfigValueBaseImpl(const std::shared_ptr<UnifiedFactory>& factory, bool checksAccess);

    /// Makes the notifiers and lets them observe this object, once.
    virtual void initNotifiers();

    std::wstring getKey() const override;
    virtual void setKey(const std::wstring& key);
    std::wstring getValue() const override;
    virtual void setValue(const std::wstring& value);
    std::wstring getOriginalValue() const override;
    virtual void setOriginalValue(const std::wstring& originalValue);
    bool getisOverridden() const override;
    virtual void setisOverridden(bool isOverridden);
    bool getisDefined() const override;
    virtual void setisDefined(bool isDefined);
    std::wstring getValueStoreName() const override;
    virtual void setValueStoreName(const std::wstring& valueStoreName);
    std::wstring getOriginalValueStoreName() const override;
    virtual void setOriginalValueStoreName(const std::wstring& originalValueStoreName);

    void addObserver(std::weak_ptr<ConfigValueObserver> observer) override;
    void removeObserver(std::weak_ptr<ConfigValueObserver> observer) override;
    std::shared_ptr<ConfigValueNotifiers> getConfigValueNotifiers() override;

    // Each tells the observers that are registered now, synchronously. What an observer throws goes on to the caller;
    // an observer of another layer is passed over.
    void fireKey();
    void fireValue();
    void fireOriginalValue();
    void fireisOverridden();
    void fireisDefined();
    void fireValueStoreName();
    void fireOriginalValueStoreName();

protected:
    /// The log of this layer.
    static TesselLogger* logger();

    // What is stored, to be looked at without a copy and without a check of the thread. Good until the next setter.
    const std::wstring& storedKey() const { return key_; }
    const std::wstring& storedValue() const { return value_; }
    const std::wstring& storedOriginalValue() const { return originalValue_; }
    bool storedIsOverridden() const { return isOverridden_; }
    bool storedIsDefined() const { return isDefined_; }
    const std::wstring& storedValueStoreName() const { return valueStoreName_.text(); }
    const std::wstring& storedOriginalValueStoreName() const { return originalValueStoreName_.text(); }

    // What setters and fires do after their check of the thread, for an operation that has made it.
    void storeValue(const std::wstring& value) { replaceText(value_, value); }
    void storeOriginalValue(const std::wstring& originalValue) { replaceText(originalValue_, originalValue); }
    void storeIsOverridden(bool isOverridden) { isOverridden_ = isOverridden; }
    void storeIsDefined(bool isDefined) { isDefined_ = isDefined; }
    void storeValueStoreName(const std::wstring& name) { valueStoreName_ = SharedText(name); }
    void storeOriginalValueStoreName(const std::wstring& name) { originalValueStoreName_ = SharedText(name); }
    void tell(void (ConfigValueObserver::*changed)());

    /// Fetches ahead what lies so many steps from the notifiers. @return whether anything lies further.
    bool fetchNotifiersAhead(unsigned step) const;

private:
    void fire(void (ConfigValueObserver::*changed)());

    std::wstring key_;
    std::wstring value_;
    std::wstring originalValue_;
    bool isOverridden_ = false;
    bool isDefined_ = false;
    ConfigValueNotifiersImpl* ownNotifiers_ = nullptr;  ///< the object of notifiers_
    SharedText valueStoreName_;
    SharedText originalValueStoreName_;
};

#pragma GCC diagnostic pop
