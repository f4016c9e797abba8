#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "comparing/Picture.h"

/// How the layers of a chain differ. Pure functions.
namespace corvidctl {

/// What a store's entry is, by the next holder of its key below it.
enum class DeltaType {
    Overridden,  ///< the holder below has another value
    Shadowed,    ///< the store is writable, and another holder wins, whatever lies below
    Equal,       ///< the holder below has the same value
    Extended,    ///< there is no holder below
};

inline constexpr auto DELTA_TYPES = std::to_array<std::pair<DeltaType, std::string_view>>({
    {DeltaType::Overridden, "overridden"},
    {DeltaType::Shadowed, "shadowed"},
    {DeltaType::Equal, "equal"},
    {DeltaType::Extended, "extended"},
});

std::string nameOf(DeltaType type);

/// The type of a name; nothing for any other word.
std::optional<DeltaType> deltaTypeOf(std::string_view name);

/// One store that holds a key. Texts in clear.
struct DeltaRow {
    DeltaType type = DeltaType::Extended;
    std::wstring key;  ///< under its current name
    std::string name;  ///< under which the store holds it
    std::string store;
    std::string value;
    std::optional<std::string> belowStore;  ///< of the next holder in the order of the lookup
    std::string belowValue;
    std::string winningStore;
    std::string winningValue;
    bool isSensitive = false;
};

/// A row for each holder of each key: keys in their order, the holders of one key in the order in which the chain looks
/// them up. A store that holds a key under both its names is two of its holders.
/// @param layers in chain order.
std::vector<DeltaRow> deltaOf(const std::vector<Layer>& layers);

}  // namespace corvidctl
