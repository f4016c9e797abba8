#include <gtest/gtest.h>

#include <string>

#include "web/ServedPage.h"

using namespace corvidctl;

namespace {

/// What pages are told while they are open.
class WebStreamTest : public ServedPage {};

TEST_F(WebStreamTest, EventReachesEveryPage) {
    serve();
    RawClient one = listen();
    RawClient two = listen();
    server_->send({"batch", "{\"number\":7}", 7});
    server_->send({"chain", "{}", 0});
    for (RawClient* page : {&one, &two}) {
        EXPECT_EQ(page->readUpTo("\n\n"), "event: batch\nid: 7\ndata: {\"number\":7}\n\n");
        EXPECT_EQ(page->readUpTo("\n\n"), "event: chain\ndata: {}\n\n");
    }
}

}  // namespace
