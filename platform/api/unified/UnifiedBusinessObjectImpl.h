#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "contracts/UnifiedBusinessObject.h"
#include "tessel/Mutex.h"
#include "unified/UnifiedFactory.h"

/// What every business object shares: its factory, its observers and the check of the thread.
class UnifiedBusinessObjectImpl : public virtual UnifiedBusinessObject {
public:
    /// @param className for diagnosis and toString(). A literal: very many objects have the same.
    UnifiedBusinessObjectImpl(std::shared_ptr<UnifiedFactory> factory, const char* className);

    /// @param checksAccess false makes EnsureUpdateAccess() a no-op, for an object that guards itself; the other
    ///                     constructor passes true.
    UnifiedBusinessObjectImpl(std::shared_ptr<UnifiedFactory> factory, bool checksAccess, const char* className);
    ~UnifiedBusinessObjectImpl() override;

    UnifiedBusinessObjectImpl(const UnifiedBusinessObjectImpl&) = delete;
    UnifiedBusinessObjectImpl& operator=(const UnifiedBusinessObjectImpl&) = delete;

    /// Any thread. Dead observers are dropped on the way.
    void addObserver(std::weak_ptr<UnifiedBusinessObjectObserver> observer) override;
    void removeObserver(std::weak_ptr<UnifiedBusinessObjectObserver> observer) override;

    /// The reference that a derived class's notifiers fill; null until then.
    std::shared_ptr<UnifiedBusinessObjectNotifiers> getUnifiedBusinessObjectNotifiers() override;

    std::string getGuid() const override;

    /// Class name and identifier.
    std::string toString() const override;

protected:
    /// The observers that are alive, in the order of their registration. The references keep them so for the fire.
    std::vector<std::shared_ptr<UnifiedBusinessObjectObserver>> lockObservers();

    /// True if this observer, which is alive, is the only one. Takes no lock: what another thread changes meanwhile
    /// counts as before or after.
    bool isObservedOnlyBy(const UnifiedBusinessObjectObserver* observer) const {
        return observer != nullptr && onlyObserver_.load(std::memory_order_acquire) == observer;
    }

    /// Checks that the calling thread may read and change business objects. Off the dispatcher thread it logs at
    /// level 2 with the class name and throws an exception derived from std::logic_error, before anything was touched.
    /// @param required false: the thread is not checked. A factory without a dispatcher passes every thread.
    void EnsureUpdateAccess(bool required) const;

    /// The factory that the object belongs to; null if it was made without one.
    const std::shared_ptr<UnifiedFactory>& getFactory() const { return factory_; }

    /// Filled by the initNotifiers() of a derived class.
    std::shared_ptr<UnifiedBusinessObjectNotifiers> notifiers_;

private:
    /// After each change of the list.
    void noteOnlyObserver() TESSEL_REQUIRES(mutex_);

    const std::shared_ptr<UnifiedFactory> factory_;
    const char* const className_;
    const bool checksAccess_;
    const std::uint64_t number_;  ///< what getGuid() gives as a text
    mutable tessel::Mutex mutex_;
    std::vector<std::weak_ptr<UnifiedBusinessObjectObserver>> observers_ TESSEL_GUARDED_BY(mutex_);
    std::atomic<const UnifiedBusinessObjectObserver*> onlyObserver_ = nullptr;  ///< null if there are none or several
};
