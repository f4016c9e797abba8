#include "inspecting/ApiRequests.h"

#include <gtest/gtest.h>

#include <functional>

using namespace corvidctl;

namespace {

const std::string WRONG_STORE = "The body is expected to be {\"key\": \"…\", \"value\": \"…\"}.";
const std::string WRONG_ERASURE = "The body is expected to be {\"key\": \"…\"}.";
const std::string NO_REHEARSAL =
    "dryRun is not offered here; corvidctl set --dry-run may be asked beside the inspector.";

std::string refusalOf(const std::function<void()>& reading) {
    try {
        reading();
    } catch (const BadRequest& refusal) {
        return refusal.what();
    }
    return "nothing";
}

ApiRequest bodyOf(const std::string& body) { return {"POST", "set", {}, body}; }

std::string storeRefusalOf(const std::string& body) {
    return refusalOf([&] { storeRequestIn(bodyOf(body)); });
}

std::string eraseRefusalOf(const std::string& body) {
    return refusalOf([&] { eraseRequestIn(bodyOf(body)); });
}

}  // namespace

TEST(ApiRequests, NameAKey) {
    EXPECT_EQ(keyIn({"GET", "explain", {{"key", "A"}}, ""}), "A");
    const std::string expected = "The name of a key is expected, as in ?key=DockedWindow.";
    EXPECT_EQ(refusalOf([] { keyIn({"GET", "explain", {}, ""}); }), expected);
    EXPECT_EQ(refusalOf([] { keyIn({"GET", "explain", {{"key", ""}}, ""}); }), expected);
}

TEST(ApiRequests, NameABatchOrNone) {
    EXPECT_EQ(sinceIn({"GET", "batches", {}, ""}), 0U);
    EXPECT_EQ(sinceIn({"GET", "batches", {{"since", "18446744073709551615"}}, ""}), UINT64_MAX);
    for (const char* const wrong : {"", "-1", "1x", " 1", "18446744073709551616", "1.5"}) {
        EXPECT_EQ(refusalOf([&] {
                      sinceIn({"GET", "batches", {{"since", wrong}}, ""});
                  }),
                  "The number of a batch is expected, as in ?since=12.")
            << wrong;
    }
}

TEST(ApiRequests, StoreAText) {
    const WriteRequest request = storeRequestIn(bodyOf(R"({"value": "", "key": "ä"})"));
    EXPECT_EQ(request.key, "ä");
    EXPECT_EQ(request.value, "");
    for (const char* const wrong :
         {"", "{", "[]", "\"key\"", R"({"key": "A"})", R"({"key": "A", "value": 1})", R"({"key": 1, "value": "b"})",
          R"({"key": "A", "value": "b", "more": 1})", "{\"key\": \"A\", \"value\": \"\xff\"}"}) {
        EXPECT_EQ(storeRefusalOf(wrong), WRONG_STORE) << wrong;
    }
    EXPECT_EQ(storeRefusalOf(R"({"key": "", "value": "b"})"), "The key is empty; the name of a key is expected.");
    EXPECT_EQ(storeRefusalOf(R"({"key": "A", "value": "b", "dryRun": true})"), NO_REHEARSAL);
}

TEST(ApiRequests, EraseAKey) {
    EXPECT_EQ(eraseRequestIn(bodyOf(R"({"key": "A"})")).key, "A");
    EXPECT_EQ(eraseRefusalOf(R"({"key": "A", "value": "b"})"), WRONG_ERASURE);
    EXPECT_EQ(eraseRefusalOf("{}"), WRONG_ERASURE);
    EXPECT_EQ(eraseRefusalOf(R"({"key": "A", "dryRun": true})"), NO_REHEARSAL);
}
