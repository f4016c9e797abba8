#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ModelTypes.h"

namespace simulation {

/// The live values restated: what each object holds, which notifications it still owes, and whom it tells of what.
/// It takes the calls of the chain in the order in which the chain makes them.
class LiveOracle {
public:
    /// Called for each notification, inside it; may ask and change anything.
    using Reaction = std::function<void(int watcher)>;

    explicit LiveOracle(Reaction reaction = {});

    void setFips(bool on) { fips_ = on; }
    void take(const ChainCall& call);

    /// The object of a key comes into being when it is asked for or reported.
    ValueState ask(const std::wstring& key);

    /// Every object in the order of the keys.
    std::vector<ValueState> askAll();

    /// What the object of the key shows, without the look-up that a request makes.
    ValueState peek(const std::wstring& key) const;

    /// An object that was there before this oracle, with nothing owed.
    void adopt(const ValueState& state);

    void watch(const std::wstring& key, int watcher);
    void unwatch(const std::wstring& key, int watcher);

    /// A key whose watchers have not been told of a silent report yet; none if nothing is owed.
    std::optional<std::wstring> owed() const;

    /// Everything that any watcher has heard so far, in order.
    const std::vector<Heard>& heard() const { return heard_; }

private:
    struct Object {
        ValueState stored;
        std::array<bool, propertyCount> owed{};
        unsigned long states = 0;  ///< how many states have been taken in
        std::vector<int> watchers;
    };

    using ObjectPtr = std::shared_ptr<Object>;

    ObjectPtr find(const std::wstring& key);
    ObjectPtr findUnder(const std::wstring& name);
    std::wstring shownValue(const Object& object) const;
    ValueState shown(const Object& object) const;
    void hideValueThatNamesTheKey(Object& object) const;
    void changeAndTell(const ObjectPtr& object, const Report& report);
    void changeAndOwe(Object& object, const Report& report) const;
    void tellWhatIsOwed(const ObjectPtr& object);
    void tell(const ObjectPtr& object, Property property);

    Reaction reaction_;
    std::map<std::wstring, ObjectPtr> objects_;
    std::vector<Heard> heard_;
    bool fips_ = false;
};

}  // namespace simulation
