#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>

/// The compiler's name of a type, as a TypeMap uses it; "NULL" when there is none. Good for the type's life.
inline std::string_view typeMapText(const std::type_info& type) {
    const char* const name = type.name();
    return name == nullptr ? "NULL" : name;
}

/// The same as a text of its own.
inline std::string typeMapName(const std::type_info& type) { return std::string(typeMapText(type)); }

/// Items under two keys: the name of the type by which they are asked for, and a number.
/// Not synchronised: the owner's lock guards it.
class TypeMap {
public:
    /// What a new item has pushed out: the earlier one of its type and the earlier one of its number. For the owner to
    /// drop once it holds no lock, since the end of an item may come back to the owner.
    struct Displaced {
        std::shared_ptr<void> byName;    ///< the earlier item of the type
        std::shared_ptr<void> byNumber;  ///< the earlier item of the number
    };

    /// Puts the item under the name of T and under the number, over whatever was under either of them.
    template <typename T>
    Displaced setItem(unsigned number, const std::shared_ptr<T>& item) {
        // The pointer that is kept is exactly a T*, so getItem<T>() may cast it back without knowing more.
        const std::shared_ptr<void> erased = item;
        return {std::exchange(byName_[typeMapName(typeid(T))], erased), std::exchange(byNumber_[number], erased)};
    }

    /// The item under the name of T; null if there is none.
    template <typename T>
    std::shared_ptr<T> getItem() const {
        const auto found = byName_.find(typeMapText(typeid(T)));
        return found == byName_.end() ? nullptr : std::static_pointer_cast<T>(found->second);
    }

    /// True if something stands under the number.
    bool hasNumber(unsigned number) const { return byNumber_.count(number) != 0; }

    /// True if nothing is registered.
    bool empty() const { return byName_.empty(); }

    /// Drops all items, outside the map's own walk: destructors may come back to an empty map.
    void clear() {
        std::map<std::string, std::shared_ptr<void>, std::less<>> byName;
        std::map<unsigned, std::shared_ptr<void>> byNumber;
        byName.swap(byName_);
        byNumber.swap(byNumber_);
    }

private:
    std::map<std::string, std::shared_ptr<void>, std::less<>> byName_;
    std::map<unsigned, std::shared_ptr<void>> byNumber_;
};
