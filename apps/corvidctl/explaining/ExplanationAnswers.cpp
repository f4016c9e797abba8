#include "explaining/ExplanationAnswers.h"

#include <nlohmann/json.hpp>

#include "explaining/Moments.h"
#include "output/MachineText.h"

namespace corvidctl::answers {

namespace {

Json timeOrNull(const StoreOrigin& origin) { return origin.time ? Json(isoTime(*origin.time)) : Json(nullptr); }

Json toJson(const KeyLayer& layer) {
    return {{"store", layer.store},
            {"priority", layer.priority},
            {"isReadOnly", layer.isReadOnly},
            {"isLocal", layer.isLocal},
            {"key", layer.key},
            {"value", layer.holdsKey ? Json(layer.value) : Json(nullptr)},
            {"wins", layer.wins},
            {"state", nameOf(layer.state)},
            {"file", textOrNull(layer.origin.file)},
            {"line", layer.inFile ? Json(layer.inFile->line) : Json(nullptr)},
            {"url", textOrNull(layer.origin.url)},
            {"time", timeOrNull(layer.origin)},
            {"isCached", layer.origin.isCached},
            {"problem", textOrNull(layer.origin.problem)}};
}

Json toJson(const StoreReport& store) {
    return {{"name", store.name},
            {"priority", store.priority},
            {"isReadOnly", store.isReadOnly},
            {"isLocal", store.isLocal},
            {"keys", store.keys},
            {"state", nameOf(store.state)},
            {"wins", store.wins},
            {"file", textOrNull(store.origin.file)},
            {"url", textOrNull(store.origin.url)},
            {"time", timeOrNull(store.origin)},
            {"isCached", store.origin.isCached},
            {"problem", textOrNull(store.origin.problem)}};
}

Json toJson(const Explanation& key);

template <class View>
Json arrayOf(const std::vector<View>& views) {
    Json array = Json::array();
    for (const View& view : views) {
        array.push_back(toJson(view));
    }
    return array;
}

Json toJson(const Explanation& key) {
    return {{"key", key.asked},
            {"lookedUp", key.lookedUp},
            {"value", key.value.value},
            {"isDefined", key.value.isDefined},
            {"valueStoreName", key.value.valueStoreName},
            {"originalValue", key.value.originalValue},
            {"originalValueStoreName", key.value.originalValueStoreName},
            {"isOverridden", key.value.isOverridden},
            {"isSensitive", key.value.isSensitive},
            {"alias", textOrNull(key.alias)},
            {"rules", key.rules},
            {"layers", arrayOf(key.layers)}};
}

}  // namespace

Json explanationObject(const Explanation& key) { return toJson(key); }

std::string explanation(const Explanation& key, Format format) {
    return format == Format::Tsv ? explanations({key}, format) : printed(toJson(key), format);
}

std::string explanations(const std::vector<Explanation>& keys, Format format) {
    if (format != Format::Tsv) {
        return printedList(arrayOf(keys), toJson(Explanation()), format);
    }
    Json layers = Json::array();
    for (const Explanation& key : keys) {
        for (const KeyLayer& layer : key.layers) {
            layers.push_back(toJson(layer));
        }
    }
    return printedList(layers, toJson(KeyLayer()), format);
}

Json storeObject(const StoreReport& store) { return toJson(store); }

std::string stores(const std::vector<StoreReport>& stores, Format format) {
    return printedList(arrayOf(stores), toJson(StoreReport()), format);
}

}  // namespace corvidctl::answers
