#include "Json.h"

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "callcontrol/CallControlServer.h"

namespace corvidctl::json {

namespace {

using Json = nlohmann::ordered_json;

/// The characters that JSON allows in a text although they act on a terminal: DEL and U+0080 to U+009F.
std::string withoutControls(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
        const bool isHighControl = byte == 0xC2 && next >= 0x80 && next < 0xA0;
        if (isHighControl || byte == 0x7F) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(isHighControl ? next : byte));
            result += escape.data();
            i += isHighControl ? 1 : 0;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string dumped(const Json& json, int indentation) {
    return withoutControls(json.dump(indentation, ' ', false, Json::error_handler_t::replace));
}

std::string printed(const Json& json) { return dumped(json, 2); }

std::string onOneLine(const Json& json) { return dumped(json, -1); }

Json toJson(const ValueView& view) {
    return {{"key", view.key},
            {"value", view.value},
            {"originalValue", view.originalValue},
            {"isOverridden", view.isOverridden},
            {"isDefined", view.isDefined},
            {"valueStoreName", view.valueStoreName},
            {"originalValueStoreName", view.originalValueStoreName},
            {"isSensitive", view.isSensitive}};
}

Json toJson(const std::vector<ValueView>& views) {
    Json array = Json::array();
    for (const ValueView& view : views) {
        array.push_back(toJson(view));
    }
    return array;
}

Json toJson(const LayerView& view) {
    return {{"store", view.store},
            {"priority", view.priority},
            {"isReadOnly", view.isReadOnly},
            {"isLocal", view.isLocal},
            {"key", view.key},
            {"value", view.holdsKey ? Json(view.value) : Json(nullptr)},
            {"wins", view.wins}};
}

Json toJson(const ChangeView& view) {
    Json json = toJson(view.value);
    json["changed"] = view.changed;
    return json;
}

Json toJson(const FetchView& view) {
    return {{"server", view.server}, {"url", view.url}, {"version", view.version},
            {"keys", view.keys},     {"ok", view.ok},   {"reason", view.reason}};
}

Json toJson(const ValidationView& view) {
    Json keys = Json::array();
    for (const ValidationView::Entry& entry : view.entries) {
        keys.push_back(entry.key);
    }
    return {{"file", view.file},
            {"valid", view.valid},
            {"keys", keys},
            {"warnings", view.warnings},
            {"errors", view.errors}};
}

}  // namespace

std::string value(const ValueView& view) { return printed(toJson(view)); }

std::string values(const std::vector<ValueView>& views) { return printed(toJson(views)); }

std::string explanation(const ExplanationView& view) {
    Json json = {{"key", view.asked},
                 {"lookedUp", view.lookedUp},
                 {"value", view.value.value},
                 {"isDefined", view.value.isDefined},
                 {"valueStoreName", view.value.valueStoreName},
                 {"originalValue", view.value.originalValue},
                 {"originalValueStoreName", view.value.originalValueStoreName},
                 {"isOverridden", view.value.isOverridden},
                 {"layers", Json::array()}};
    for (const LayerView& layer : view.layers) {
        json["layers"].push_back(toJson(layer));
    }
    return printed(json);
}

std::string stores(const std::vector<StoreView>& views) {
    Json array = Json::array();
    for (const StoreView& view : views) {
        array.push_back({{"name", view.name},
                         {"priority", view.priority},
                         {"isReadOnly", view.isReadOnly},
                         {"isLocal", view.isLocal},
                         {"keys", view.keys}});
    }
    return printed(array);
}

std::string change(const ChangeView& view) { return onOneLine(toJson(view)); }

std::string fetch(const FetchView& view) { return printed(toJson(view)); }
std::string request(const callcontrol::ServedRequest& request) {
    return onOneLine({{"port", request.port},
                      {"client", request.client},
                      {"method", request.method},
                      {"path", request.path},
                      {"status", request.status},
                      {"bytes", request.bytes}});
}

std::string provisioning(const ProvisioningView& view) {
    Json json = {{"accepted", view.accepted}, {"keys", Json::array()}};
    for (const ProvisionedKey& key : view.keys) {
        json["keys"].push_back(key.key);
    }
    return printed(json);
}

std::string dataReset(const DataResetView& view) { return printed({{"removed", view.removed}, {"kept", view.kept}}); }

std::string report(const std::string& text) { return printed({{"report", text}}); }

std::string validations(const std::vector<ValidationView>& views) {
    if (views.size() == 1) {
        return printed(toJson(views.front()));
    }
    Json array = Json::array();
    for (const ValidationView& view : views) {
        array.push_back(toJson(view));
    }
    return printed(array);
}

std::string demonstration(const DemonstrationView& view) {
    Json json = {{"fetches", Json::array({toJson(view.fetch), toJson(view.secondFetch)})},
                 {"values", toJson(view.values)},
                 {"serverChanges", Json::array()},
                 {"changes", Json::array()}};
    for (const TransitionView& transition : view.serverChanges) {
        json["serverChanges"].push_back(toJson(transition.after));
    }
    for (const ChangeView& change : view.userChanges) {
        json["changes"].push_back(toJson(change));
    }
    return printed(json);
}

}  // namespace corvidctl::json
