// Any bytes as what the inspector's page asks for: the first line stands in the query, the rest is the body. What is
// taken is what was said, in a form that is read in the same way; anything else is refused with a sentence.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "inspecting/ApiRequests.h"

namespace {

using corvidctl::ApiRequest;
using nlohmann::json;

void demand(bool condition, const char* wrong) {
    if (!condition) {
        std::fprintf(stderr, "page request: %s\n", wrong);
        std::abort();
    }
}

/// What the reader makes of the request; nothing if it refuses it. Any other exception ends the process.
template <typename Reader>
auto taken(Reader read, const ApiRequest& request) -> std::optional<decltype(read(request))> {
    try {
        return read(request);
    } catch (const corvidctl::BadRequest& refusal) {
        demand(std::string_view(refusal.what()).ends_with('.'), "a refusal without a sentence");
        return std::nullopt;
    }
}

ApiRequest withBody(const json& body) { return {"POST", "set", {}, body.dump()}; }

void tryQuery(const ApiRequest& request, const std::string& text) {
    const auto key = taken(corvidctl::keyIn, request);
    demand(key.has_value() == !text.empty() && key.value_or(text) == text, "another key");
    if (const auto since = taken(corvidctl::sinceIn, request)) {
        const bool isNumber = !text.empty() && std::all_of(text.begin(), text.end(),
                                                           [](char letter) { return letter >= '0' && letter <= '9'; });
        const std::string digits = isNumber ? text.substr(std::min(text.find_first_not_of('0'), text.size() - 1)) : "";
        demand(std::to_string(*since) == digits, "another number");
    }
}

void tryStoring(const ApiRequest& request) {
    const auto write = taken(corvidctl::storeRequestIn, request);
    if (!write) {
        return;
    }
    json body{{"key", write->key}, {"value", write->value}};
    const auto again = taken(corvidctl::storeRequestIn, withBody(body));
    demand(again && again->key == write->key && again->value == write->value, "another write when read again");
    demand(!write->key.empty(), "a write without a key");
    demand(!taken(corvidctl::eraseRequestIn, request), "a write that erases");
    body["more"] = "";
    demand(!taken(corvidctl::storeRequestIn, withBody(body)), "a write that says more");
}

void tryErasing(const ApiRequest& request) {
    const auto erasing = taken(corvidctl::eraseRequestIn, request);
    if (!erasing) {
        return;
    }
    const auto again = taken(corvidctl::eraseRequestIn, withBody({{"key", erasing->key}}));
    demand(again && again->key == erasing->key, "another key when read again");
    demand(!erasing->key.empty() && erasing->value.empty(), "a value that is erased");
    demand(!taken(corvidctl::storeRequestIn, request), "an erasing that writes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string query(text.substr(0, text.find('\n')));
    const std::string body(text.substr(std::min(query.size() + 1, text.size())));
    const ApiRequest request{"POST", "set", {{"key", query}, {"since", query}}, body};
    tryQuery(request, query);
    tryStoring(request);
    tryErasing(request);
    return 0;
}
