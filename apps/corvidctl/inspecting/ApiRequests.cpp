#include "inspecting/ApiRequests.h"

#include <initializer_list>
#include <nlohmann/json.hpp>
#include <optional>

#include "web/WholeNumber.h"

namespace corvidctl {

namespace {

using nlohmann::json;

void refuseRehearsal(const json& body) {
    if (body.is_object() && body.contains("dryRun")) {
        throw BadRequest("dryRun is not offered here; corvidctl set --dry-run may be asked beside the inspector.");
    }
}

/// @throws BadRequest if the body is no JSON object of these texts and nothing else.
json bodyWith(const ApiRequest& request, std::initializer_list<const char*> texts, const char* expected) {
    json body = json::parse(request.body, nullptr, false);
    refuseRehearsal(body);
    if (!body.is_object() || body.size() != texts.size()) {
        throw BadRequest(std::string("The body is expected to be ") + expected + ".");
    }
    for (const char* const text : texts) {
        if (!body.contains(text) || !body.at(text).is_string()) {
            throw BadRequest(std::string("The body is expected to be ") + expected + ".");
        }
    }
    if (body.at("key").get_ref<const std::string&>().empty()) {
        throw BadRequest("The key is empty; the name of a key is expected.");
    }
    return body;
}

}  // namespace

std::string keyIn(const ApiRequest& request) {
    const auto key = request.parameters.find("key");
    if (key == request.parameters.end() || key->second.empty()) {
        throw BadRequest("The name of a key is expected, as in ?key=DockedWindow.");
    }
    return key->second;
}

std::uint64_t sinceIn(const ApiRequest& request) {
    const auto since = request.parameters.find("since");
    if (since == request.parameters.end()) {
        return 0;
    }
    const std::optional<std::uint64_t> number = wholeNumberIn(since->second);
    if (!number) {
        throw BadRequest("The number of a batch is expected, as in ?since=12.");
    }
    return *number;
}

WriteRequest storeRequestIn(const ApiRequest& request) {
    const json body = bodyWith(request, {"key", "value"}, R"({"key": "…", "value": "…"})");
    return {body.at("key").get<std::string>(), body.at("value").get<std::string>()};
}

WriteRequest eraseRequestIn(const ApiRequest& request) {
    const json body = bodyWith(request, {"key"}, R"({"key": "…"})");
    return {body.at("key").get<std::string>(), std::string()};
}

}  // namespace corvidctl
