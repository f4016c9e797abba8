#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "fakes/TemporaryDirectory.h"
#include "quill/FileUtils.h"

// A file is copied in pieces, by way of memory of the thread that copies; a document may hold secrets.

namespace {

void* runDeed(void* deed) {
    (*static_cast<const std::function<void()>*>(deed))();
    return nullptr;
}

/// What a thread has left in its stack.
std::string stackAfter(const std::function<void()>& deed) {
    constexpr std::size_t pages = 256;
    std::vector<char> stack(pages * 4096 + 64);
    pthread_attr_t attributes;
    EXPECT_EQ(pthread_attr_init(&attributes), 0);
    auto* const aligned = stack.data() + (64 - reinterpret_cast<std::uintptr_t>(stack.data()) % 64);
    EXPECT_EQ(pthread_attr_setstack(&attributes, aligned, pages * 4096), 0);
    pthread_t thread{};
    EXPECT_EQ(pthread_create(&thread, &attributes, runDeed, const_cast<std::function<void()>*>(&deed)), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
    return {stack.begin(), stack.end()};
}

TEST(CopiedFile, LeavesNothingInTheStackOfTheThreadThatCopiedIt) {
    constexpr std::string_view secret = "a secret of the document's";
    const fakes::TemporaryDirectory directory;
    directory.write("from", std::string(100'000, '.').append(secret));
    const std::string left = stackAfter(
        [&] { EXPECT_TRUE(QuillCoreUtils::FileUtils::copyFile(directory.path("from"), directory.path("to"), false)); });
    EXPECT_EQ(directory.read("to").size(), 100'000 + secret.size());
    EXPECT_EQ(left.find(secret), std::string::npos);
    EXPECT_EQ(left.find("...................................."), std::string::npos);
    const std::string seen = stackAfter([&] {
        volatile char copy[64] = {};
        EXPECT_EQ(copy[0], 0);
        for (std::size_t letter = 0; letter < secret.size(); ++letter) {
            copy[letter] = secret[letter];
        }
    });
    EXPECT_NE(seen.find(secret), std::string::npos) << "nothing can be seen here";
}

}  // namespace
