#include "LiveOracle.h"

#include <algorithm>
#include <utility>

#include "ChainOracle.h"

namespace simulation {

namespace {

const std::wstring peerToPeerKey = L"telephony_p2p_enabled";

/// The text field or the flag of a property, in a stored state as well as in a report.
template <typename State>
auto& textOf(State& state, Property property) {
    switch (property) {
    case Property::OriginalValue:
        return state.originalValue;
    case Property::ValueStoreName:
        return state.valueStoreName;
    case Property::OriginalValueStoreName:
        return state.originalValueStoreName;
    default:
        return state.value;
    }
}

}  // namespace

LiveOracle::LiveOracle(Reaction reaction) : reaction_(std::move(reaction)) {}

void LiveOracle::take(const ChainCall& call) {
    if (call.kind == ChainCall::Kind::Sensitive) {
        return;
    }
    const ObjectPtr object = find(call.report.key);
    if (call.kind == ChainCall::Kind::Fire) {
        tellWhatIsOwed(object);
    } else if (call.report.silent) {
        changeAndOwe(*object, call.report);
    } else {
        changeAndTell(object, call.report);
    }
}

LiveOracle::ObjectPtr LiveOracle::findUnder(const std::wstring& name) {
    const auto found = objects_.find(folded(name));
    if (found == objects_.end()) {
        return nullptr;
    }
    hideValueThatNamesTheKey(*found->second);
    return found->second;
}

LiveOracle::ObjectPtr LiveOracle::find(const std::wstring& key) {
    const std::wstring* const current = ChainOracle::currentNameOf(key);
    const std::wstring& name = current != nullptr ? *current : key;
    if (ObjectPtr object = findUnder(name)) {
        return object;
    }
    const auto object = std::make_shared<Object>();
    object->stored.key = name;
    objects_[folded(name)] = object;
    return object;
}

std::wstring LiveOracle::shownValue(const Object& object) const {
    return fips_ && folded(object.stored.key) == peerToPeerKey ? L"false" : object.stored.value;
}

ValueState LiveOracle::shown(const Object& object) const {
    ValueState state = object.stored;
    state.value = shownValue(object);
    return state;
}

void LiveOracle::hideValueThatNamesTheKey(Object& object) const {
    if (fips_ && folded(shownValue(object)) == peerToPeerKey) {
        object.stored.value = L"false";
    }
}

ValueState LiveOracle::ask(const std::wstring& key) { return shown(*find(key)); }

std::vector<ValueState> LiveOracle::askAll() {
    std::vector<ValueState> states;
    for (const auto& [key, object] : objects_) {
        hideValueThatNamesTheKey(*object);
        states.push_back(shown(*object));
    }
    return states;
}

ValueState LiveOracle::peek(const std::wstring& key) const {
    const std::wstring* const current = ChainOracle::currentNameOf(key);
    return shown(*objects_.at(folded(current != nullptr ? *current : key)));
}

void LiveOracle::adopt(const ValueState& state) {
    const auto object = std::make_shared<Object>();
    object->stored = state;
    objects_[folded(state.key)] = object;
}

std::optional<std::wstring> LiveOracle::owed() const {
    for (const auto& [key, object] : objects_) {
        if (std::find(object->owed.begin(), object->owed.end(), true) != object->owed.end()) {
            return key;
        }
    }
    return std::nullopt;
}

void LiveOracle::watch(const std::wstring& key, int watcher) {
    std::vector<int>& watchers = find(key)->watchers;
    if (std::find(watchers.begin(), watchers.end(), watcher) == watchers.end()) {
        watchers.push_back(watcher);
    }
}

void LiveOracle::unwatch(const std::wstring& key, int watcher) { std::erase(find(key)->watchers, watcher); }

void LiveOracle::tell(const ObjectPtr& object, Property property) {
    const std::vector<int> watchers = object->watchers;
    for (const int watcher : watchers) {
        heard_.push_back({watcher, property, shown(*object)});
        if (reaction_) {
            reaction_(watcher);
        }
    }
}

void LiveOracle::changeAndTell(const ObjectPtr& object, const Report& report) {
    const unsigned long state = ++object->states;
    // A watcher that causes a newer state ends this one: what is left of it is dropped.
    const auto isNewest = [&] { return object->states == state; };
    const auto takeText = [&](Property property) {
        const std::wstring now = property == Property::Value ? shownValue(*object) : textOf(object->stored, property);
        const std::wstring& then = textOf(report, property);
        if (isNewest() && now != then) {
            textOf(object->stored, property) = then;
            tell(object, property);
        }
    };
    const auto takeFlag = [&](Property property, bool& now, bool then) {
        if (isNewest() && now != then) {
            now = then;
            tell(object, property);
        }
    };
    takeText(Property::Value);
    takeText(Property::OriginalValue);
    takeFlag(Property::isOverridden, object->stored.isOverridden, report.isOverridden);
    takeFlag(Property::isDefined, object->stored.isDefined, report.isDefined);
    takeText(Property::ValueStoreName);
    takeText(Property::OriginalValueStoreName);
}

void LiveOracle::changeAndOwe(Object& object, const Report& report) const {
    ++object.states;
    const auto owe = [&](Property property) { object.owed.at(static_cast<std::size_t>(property)) = true; };
    const auto takeText = [&](Property property) {
        const std::wstring now = property == Property::Value ? shownValue(object) : textOf(object.stored, property);
        if (now != textOf(report, property)) {
            textOf(object.stored, property) = textOf(report, property);
            owe(property);
        }
    };
    takeText(Property::Value);
    takeText(Property::OriginalValue);
    if (object.stored.isOverridden != report.isOverridden) {
        object.stored.isOverridden = report.isOverridden;
        owe(Property::isOverridden);
    }
    // A silent report turns "defined" on and never off, and owes a notification even where nothing changes.
    if (!object.stored.isDefined) {
        object.stored.isDefined = report.isDefined;
        owe(Property::isDefined);
    }
    takeText(Property::ValueStoreName);
    takeText(Property::OriginalValueStoreName);
}

void LiveOracle::tellWhatIsOwed(const ObjectPtr& object) {
    for (std::size_t index = 0; index < propertyCount; ++index) {
        if (object->owed.at(index)) {
            tell(object, static_cast<Property>(index));
            object->owed.at(index) = false;
        }
    }
}

}  // namespace simulation
