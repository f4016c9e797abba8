#include "support/Layers.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <random>

namespace bench {
namespace {

constexpr std::size_t MISSING_FAMILY = 100;
constexpr std::size_t SHARED_FAMILY = 101;

const std::array<const char*, 16> WORDS = {"Voicemail", "Telephony", "Meetings",  "Presence", "Directory", "Contact",
                                           "Calendar",  "Desktop",   "Recording", "Security", "Network",   "Chat",
                                           "Update",    "Logging",   "Hotkey",    "Audio"};

std::uint64_t scramble(std::uint64_t number) {
    number ^= number >> 31U;
    number *= 0x9E3779B97F4A7C15ULL;
    number ^= number >> 29U;
    return number;
}

std::size_t sharedCount(const Layers& layers) { return layers[USER_LAYER].entries.size() / 10; }

}  // namespace

std::string nameOf(Place place) {
    return place == Place::Miss ? "miss" : "layer " + std::to_string(static_cast<std::size_t>(place) + 1);
}

std::string makeKey(std::size_t family, std::size_t index) {
    const std::uint64_t noise = scramble(family * 1000003 + index + 1);
    std::string key = WORDS[noise % WORDS.size()];
    key += WORDS[noise / WORDS.size() % WORDS.size()];
    key += '_' + std::to_string(family) + '_' + std::to_string(index);
    return key;
}

Entries makeEntries(std::size_t family, std::size_t count) {
    Entries entries;
    entries.reserve(count);
    for (std::size_t index = 0; index < count; ++index) {
        std::array<char, 32> value{};
        std::snprintf(value.data(), value.size(), "value-%06zu", index);
        entries.emplace_back(makeKey(family, index), value.data());
    }
    return entries;
}

Entries otherVersion(const Entries& entries) {
    Entries result;
    for (std::size_t index = 0; index < entries.size(); ++index) {
        if (index % 200 == 0) {
            result.emplace_back(entries[index].first, "another value");
        } else if (index % 200 != 100) {
            result.push_back(entries[index]);
        }
    }
    return result;
}

std::size_t changedCount(std::size_t keys) { return (keys + 99) / 100; }

Layers makeLayers(std::size_t keys) {
    Layers layers;
    for (std::size_t place = 0; place < LAYER_COUNT; ++place) {
        const bool shares = place == USER_LAYER || place == ADMINISTRATOR_LAYER;
        const std::size_t shared = shares ? keys / 10 : 0;
        Entries entries = makeEntries(place, keys - shared);
        const Entries both = makeEntries(SHARED_FAMILY, shared);
        entries.insert(entries.end(), both.begin(), both.end());
        layers.push_back({place != USER_LAYER && place != RUN_LAYER, std::move(entries)});
    }
    return layers;
}

std::vector<std::string> sampleKeys(const Layers& layers, Place place) {
    const bool miss = place == Place::Miss;
    const std::size_t layer = miss ? 0 : static_cast<std::size_t>(place);
    const std::size_t count = layers[layer].entries.size() - (layer == ADMINISTRATOR_LAYER ? sharedCount(layers) : 0);
    const std::size_t step = std::max<std::size_t>(1, count / 1000);
    std::vector<std::string> keys;
    for (std::size_t index = 0; index < count && keys.size() < 1000; index += step) {
        keys.push_back(miss ? makeKey(MISSING_FAMILY, index) : layers[layer].entries[index].first);
    }
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    return keys;
}

std::vector<std::string> sharedKeys(const Layers& layers) {
    const std::size_t count = sharedCount(layers);
    std::vector<std::string> keys;
    for (std::size_t index = 0; index < std::min<std::size_t>(count, 1000); ++index) {
        keys.push_back(makeKey(SHARED_FAMILY, index));
    }
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    return keys;
}

std::string iniDocument(const Entries& entries) {
    std::string text = "[g]\n";
    for (const auto& [key, value] : entries) {
        text += key;
        text += '=';
        text += value;
        text += '\n';
    }
    return text;
}

std::string xmlDocument(const Entries& entries) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Corvid>\n <CachedConfig>\n";
    for (const auto& [key, value] : entries) {
        text += "  <";
        text += key;
        text += '>';
        text += value;
        text += "</";
        text += key;
        text += ">\n";
    }
    return text + " </CachedConfig>\n</Corvid>\n";
}

std::string bootstrapDocument(const Entries& entries) {
    std::string text;
    for (const auto& [key, value] : entries) {
        text += key;
        text += ':';
        text += value;
        text += '\n';
    }
    return text;
}

std::wstring widen(const std::string& text) { return {text.begin(), text.end()}; }

}  // namespace bench
