#include "output/Answers.h"

#include <nlohmann/json.hpp>

#include "callcontrol/CallControlServer.h"
#include "output/MachineText.h"

namespace corvidctl::answers {

namespace {

/// Put together field by field: there may be ten thousand of them, and a list in braces copies every text once more.
Json toJson(const ValueView& view) {
    Json json = Json::object();
    json["key"] = view.key;
    json["value"] = view.value;
    json["originalValue"] = view.originalValue;
    json["isOverridden"] = view.isOverridden;
    json["isDefined"] = view.isDefined;
    json["valueStoreName"] = view.valueStoreName;
    json["originalValueStoreName"] = view.originalValueStoreName;
    json["isSensitive"] = view.isSensitive;
    return json;
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

Json toJson(const callcontrol::ServedRequest& request) {
    return {{"port", request.port}, {"client", request.client}, {"method", request.method},
            {"path", request.path}, {"status", request.status}, {"bytes", request.bytes}};
}

template <class View>
Json arrayOf(const std::vector<View>& views) {
    Json array = Json::array();
    for (const View& view : views) {
        array.push_back(toJson(view));
    }
    return array;
}

}  // namespace

Json valueObject(const ValueView& view) { return toJson(view); }

std::string value(const ValueView& view, Format format) { return printed(toJson(view), format); }

std::string values(const std::vector<ValueView>& views, Format format) {
    return printedList(arrayOf(views), toJson(ValueView()), format);
}

std::string changeHeadings(Format format) { return streamHeadings(toJson(ChangeView()), format); }

std::string change(const ChangeView& view, Format format) { return streamed(toJson(view), format); }

std::string requestHeadings(Format format) { return streamHeadings(toJson(callcontrol::ServedRequest()), format); }

std::string request(const callcontrol::ServedRequest& request, Format format) {
    return streamed(toJson(request), format);
}

Json fetchObject(const FetchView& view) { return toJson(view); }

std::string fetch(const FetchView& view, Format format) { return printed(toJson(view), format); }

std::string provisioning(const ProvisioningView& view, Format format) {
    const bool isSet = view.accepted && view.cacheOnDisk;
    Json json = {{"accepted", isSet}, {"keys", Json::array()}};
    for (const ProvisionedKey& key : view.keys) {
        if (isSet) {
            json["keys"].push_back(key.key);
        }
    }
    json["reopened"] = hasReopened(view);
    return printed(json, format);
}

std::string dataReset(const DataResetView& view, Format format) {
    return printed({{"removed", view.removed}, {"kept", view.kept}}, format);
}

std::string report(const std::string& text, Format format) { return printed({{"report", text}}, format); }

std::string demonstration(const DemonstrationView& view, Format format) {
    Json json = {{"fetches", Json::array({toJson(view.fetch), toJson(view.secondFetch)})},
                 {"values", arrayOf(view.values)},
                 {"serverChanges", Json::array()},
                 {"changes", arrayOf(view.userChanges)}};
    for (const TransitionView& transition : view.serverChanges) {
        json["serverChanges"].push_back(toJson(transition.after));
    }
    return printed(json, format);
}

}  // namespace corvidctl::answers
