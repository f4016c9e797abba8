#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace bench {

using Entries = std::vector<std::pair<std::string, std::string>>;

/// What one source of configuration holds.
struct Layer {
    bool readOnly;
    Entries entries;
};

/// A chain of eight layers, the first one asked first. The second one is the user's and the seventh this run's; the
/// others are read-only. Each layer has keys of its own and, besides, the second and the fifth share a tenth of theirs.
using Layers = std::vector<Layer>;

inline constexpr std::size_t LAYER_COUNT = 8;
inline constexpr std::size_t USER_LAYER = 1;
inline constexpr std::size_t ADMINISTRATOR_LAYER = 4;
inline constexpr std::size_t RUN_LAYER = 6;

/// Where a lookup ends: in one of the layers, or nowhere.
enum class Place { First, Second, Third, Fourth, Fifth, Sixth, Seventh, Eighth, Miss };

inline constexpr Place EVERY_PLACE[] = {Place::First, Place::Second,  Place::Third,  Place::Fourth, Place::Fifth,
                                        Place::Sixth, Place::Seventh, Place::Eighth, Place::Miss};

/// "layer 1" and so on, or "miss".
std::string nameOf(Place place);

/// Keys as configurations have them: some words, then a number; 15 to 30 ASCII letters, no two equal without case.
/// Equal for equal arguments. @param family keys of two families differ.
std::string makeKey(std::size_t family, std::size_t index);

/// Entries of one family with values of 12 letters.
Entries makeEntries(std::size_t family, std::size_t count);

/// The next version of a layer: of a hundred entries one has another value, or every other time is not there.
Entries otherVersion(const Entries& entries);

/// How many of so many keys the two versions hold differently.
std::size_t changedCount(std::size_t keys);

/// @param keys in each layer.
Layers makeLayers(std::size_t keys);

/// Up to 1,000 keys that no layer before that one holds, or none at all, in no order.
std::vector<std::string> sampleKeys(const Layers& layers, Place place);

/// Up to 1,000 keys that the second layer and the fifth both hold.
std::vector<std::string> sharedKeys(const Layers& layers);

/// An INI file with one group, "g".
std::string iniDocument(const Entries& entries);

/// A document as the server has it.
std::string xmlDocument(const Entries& entries);

/// A properties file as the installer writes it.
std::string bootstrapDocument(const Entries& entries);

/// ASCII only.
std::wstring widen(const std::string& text);

template <typename Text, typename Convert>
std::vector<Text> convertAll(const std::vector<std::string>& texts, const Convert& convert) {
    std::vector<Text> converted;
    converted.reserve(texts.size());
    for (const std::string& text : texts) {
        converted.push_back(convert(text));
    }
    return converted;
}

}  // namespace bench
