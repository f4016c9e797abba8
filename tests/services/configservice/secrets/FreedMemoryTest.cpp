#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "../stores/StoreTestSupport.h"
#include "chain/SensitiveKeySecuringUtility.h"

namespace {

// Beyond ASCII, since a text that grows while it is narrowed leaves its first part behind.
constexpr std::wstring_view wideSecret = L"\u2603\u2603 hunter22 is the password \u2603\u2603\u2603\u2603\u2603";
constexpr std::string_view narrowMark = " hunter22 is";
constexpr std::wstring_view wideMark = L" hunter22 is";

std::atomic<bool> isWatching{false};
std::atomic<int> blocksWithTheSecret{0};

template <typename Unit>
bool holds(const void* block, std::size_t size, std::basic_string_view<Unit> mark) {
    const auto* const begin = static_cast<const char*>(block);
    const auto* const bytes = reinterpret_cast<const char*>(mark.data());
    return std::search(begin, begin + size, bytes, bytes + mark.size() * sizeof(Unit)) != begin + size;
}

void look(const void* block, std::size_t size) {
    if (isWatching && (holds(block, size, narrowMark) || holds(block, size, wideMark))) {
        ++blocksWithTheSecret;
    }
}

void release(void* block) {
    if (block != nullptr) {
        look(block, malloc_usable_size(block));
        std::free(block);
    }
}

}  // namespace

// Every block that this program gives back passes here, whichever library had it. New ones are zeroed, since what an
// earlier owner has left in one is nothing of the later one's.
void* operator new(std::size_t size) {
    if (void* const block = std::calloc(1, std::max<std::size_t>(size, 1))) {
        return block;
    }
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::calloc(1, std::max<std::size_t>(size, 1));
}

void operator delete(void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }

namespace storetests {
namespace {

/// How many blocks with the secret in them were given back while something was done.
template <typename Action>
int blocksLeftBy(const Action& action) {
    blocksWithTheSecret = 0;
    isWatching = true;
    action();
    isWatching = false;
    return blocksWithTheSecret;
}

TEST(FreedMemory, IsWatched) {
    EXPECT_GT(blocksLeftBy([] { QuillCoreUtils::toString(wideSecret); }), 0);
    EXPECT_GT(blocksLeftBy([] { std::wstring copy(wideSecret); }), 0);
}

TEST(FreedMemory, HoldsNoSecretThatWasEnciphered) {
    ConfigMap map = {{L"ConnectionPassword", std::wstring(wideSecret)}, {L"other", L"1"}};
    EXPECT_EQ(blocksLeftBy([&map] { SensitiveKeySecuringUtility::secureWellKnownSensitiveKeys(map); }), 0);
    EXPECT_NE(map[L"ConnectionPassword"], wideSecret);
}

TEST(FreedMemory, HoldsNoSecretThatWasReadFromADocument) {
    const std::string secret = QuillCoreUtils::toString(wideSecret);
    const std::string document = serverDocument("<ConnectionPassword>\n" + secret + "<![CDATA[" + secret + "]]>" +
                                                std::string(100, 'x') + "</ConnectionPassword>");
    ConfigMap values;
    SensitiveKeySet sensitiveKeys;
    EXPECT_EQ(blocksLeftBy([&] { XmlConfigParser::readFromMemory(document, values, sensitiveKeys); }), 0);
    EXPECT_EQ(values[L"ConnectionPassword"].find(wideSecret), 0U);
}

}  // namespace
}  // namespace storetests
