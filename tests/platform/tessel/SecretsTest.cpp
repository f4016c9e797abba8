#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <latch>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "impl/tessel/Base64.h"
#include "tessel/SecureString.h"
#include "tessel/SecureStringUtils.h"
#include "tessel/StringEncryptionFacility.h"

using namespace std::string_literals;

namespace tessel {
namespace {

TEST(SecureString, GivesItsTextBack) {
    for (const std::string& text : {"secret"s, "\0\xFF\n\0"s, std::string(100000, 'x')}) {
        const SecureString secret(text);
        EXPECT_TRUE(secret.isValid());
        EXPECT_EQ(secret.reveal(), text);
    }
}

TEST(SecureString, TravelsAsBase64) {
    const std::string text = SecureString("secret"s).serializeToBase64();
    EXPECT_EQ(text.size(), (12U + 6U + 16U + 2U) / 3U * 4U);
    EXPECT_EQ(text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/="), text.npos);
    const SecureString secret = SecureString::createFromBase64(text);
    EXPECT_TRUE(secret.isValid());
    EXPECT_EQ(secret.reveal(), "secret");
    EXPECT_EQ(secret.serializeToBase64(), text);
}

TEST(SecureString, HoldsAnEmptySecretInBothWays) {
    for (const SecureString& secret : {SecureString(), SecureString(std::string())}) {
        EXPECT_TRUE(secret.isValid());
        EXPECT_EQ(secret.reveal(), "");
        const SecureString copy = SecureString::createFromBase64(secret.serializeToBase64());
        EXPECT_TRUE(copy.isValid());
        EXPECT_EQ(copy.reveal(), "");
    }
}

TEST(SecureString, LooksDifferentEachTime) {
    std::set<std::string> forms;
    for (int i = 0; i < 100; ++i) {
        forms.insert(SecureString("secret"s).serializeToBase64());
    }
    EXPECT_EQ(forms.size(), 100U);
}

TEST(SecureString, ShowsNothingOfItsText) {
    const std::string clear = "a secret that is long enough to be found";
    const std::string bytes = decodeBase64(SecureString(clear).serializeToBase64()).value();
    EXPECT_EQ(bytes.find(clear.substr(0, 8)), std::string::npos);
}

TEST(SecureString, IsNotValidAfterAnyByteOfTheTextWasChanged) {
    const std::string text = SecureString("secret!"s).serializeToBase64();
    for (std::size_t i = 0; i < text.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            std::string changed = text;
            changed[i] = static_cast<char>(changed[i] ^ (1 << bit));
            const SecureString secret = SecureString::createFromBase64(changed);
            ASSERT_FALSE(secret.isValid()) << "byte " << i << ", bit " << bit;
            ASSERT_EQ(secret.reveal(), std::nullopt);
        }
    }
}

TEST(SecureString, IsNotValidAfterAnyBitOfTheBytesWasChanged) {
    const std::string bytes = decodeBase64(SecureString("secret!"s).serializeToBase64()).value();
    for (std::size_t i = 0; i < bytes.size() * 8; ++i) {
        std::string changed = bytes;
        changed[i / 8] = static_cast<char>(changed[i / 8] ^ (1 << (i % 8)));
        ASSERT_FALSE(SecureString::createFromBase64(encodeBase64(changed)).isValid()) << "bit " << i;
    }
}

TEST(SecureString, IsNotValidWhenCutShortOrMadeLonger) {
    const std::string bytes = decodeBase64(SecureString("secret"s).serializeToBase64()).value();
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        ASSERT_FALSE(SecureString::createFromBase64(encodeBase64(bytes.substr(0, length))).isValid()) << length;
    }
    EXPECT_FALSE(SecureString::createFromBase64(encodeBase64(bytes + "x")).isValid());
}

TEST(SecureString, IsNotValidFromAForeignText) {
    for (const std::string& text : {""s, "secret"s, "AAAA"s, std::string(48, 'A'), "\0\0\0\0"s}) {
        const SecureString secret = SecureString::createFromBase64(text);
        EXPECT_FALSE(secret.isValid()) << text;
        EXPECT_EQ(secret.serializeToBase64(), "");
    }
}

TEST(SecureString, GoesToAnotherOneWhole) {
    SecureString first("secret"s);
    const SecureString copy = first;
    first = SecureString("other"s);
    EXPECT_EQ(copy.reveal(), "secret");
    EXPECT_EQ(first.reveal(), "other");
}

TEST(SecureStringDeathTest, CannotBeReadByAnotherProcess) {
    // In this style the statement runs in a new process, which comes by here too and keeps what this one has set.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const char* const variable = "CORVID_TEST_SEALED";
    setenv(variable, SecureString("secret"s).serializeToBase64().c_str(), 0);
    EXPECT_TRUE(SecureString::createFromBase64(SecureString("secret"s).serializeToBase64()).isValid());
    EXPECT_EXIT(_exit(SecureString::createFromBase64(getenv(variable)).isValid() ? 1 : 42), testing::ExitedWithCode(42),
                "");
    unsetenv(variable);
}

TEST(StringEncryptionFacility, GivesTheSecretBack) {
    const std::string text = StringEncryptionFacility::encryptEncodeString("secret");
    EXPECT_EQ(StringEncryptionFacility::decodeEncryptedString(text).reveal(), "secret");
    EXPECT_FALSE(StringEncryptionFacility::decodeEncryptedString("secret").isValid());
}

TEST(StringEncryptionFacility, WorksOnManyThreadsFromTheStart) {
    constexpr int count = 4;
    std::latch start(count);
    std::vector<std::string> texts(count);
    std::vector<std::thread> threads;
    for (std::string& text : texts) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            text = StringEncryptionFacility::encryptEncodeString("secret");
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& text : texts) {
        EXPECT_EQ(StringEncryptionFacility::decodeEncryptedString(text).reveal(), "secret");
    }
}

TEST(SecureStringUtils, OverwritesEveryByteAndKeepsTheLength) {
    std::string narrow = "secret";
    SecureStringUtils::TesselZeroString(narrow);
    EXPECT_EQ(narrow, std::string(6, '\0'));
    std::wstring wide = L"secret";
    SecureStringUtils::TesselZeroWstring(wide);
    EXPECT_EQ(wide, std::wstring(6, L'\0'));
}

TEST(SecureStringUtils, OverwritesWithinTheGivenLength) {
    char memory[] = "secret";
    SecureStringUtils::TesselZeroMemory(memory, 3);
    EXPECT_EQ(std::string(memory, 6), "\0\0\0ret"s);
}

TEST(SecureStringUtils, TakesNothing) {
    std::string narrow;
    std::wstring wide;
    SecureStringUtils::TesselZeroString(narrow);
    SecureStringUtils::TesselZeroWstring(wide);
    SecureStringUtils::TesselZeroMemory(nullptr, 0);
    EXPECT_EQ(narrow, "");
    EXPECT_EQ(wide, L"");
}

TEST(Base64, GivesTheVectorsOfItsStandard) {
    const std::vector<std::pair<std::string, std::string>> vectors = {{"", ""},
                                                                      {"f", "Zg=="},
                                                                      {"fo", "Zm8="},
                                                                      {"foo", "Zm9v"},
                                                                      {"foob", "Zm9vYg=="},
                                                                      {"fooba", "Zm9vYmE="},
                                                                      {"foobar", "Zm9vYmFy"},
                                                                      {"\xFB\xFF", "+/8="}};
    for (const auto& [bytes, text] : vectors) {
        EXPECT_EQ(encodeBase64(bytes), text);
        EXPECT_EQ(decodeBase64(text), bytes);
    }
}

TEST(Base64, RefusesWhatIsNotExactlyIt) {
    for (const std::string& text :
         {"Z"s,    "Zg"s,   "Zg="s,  "Zg==="s, "="s,      "=="s,   "==="s,  "===="s,  "Z==="s,    "Zg==Zg=="s,  "Z=g="s,
          "=Zg="s, "Zh=="s, "Zm9="s, "Zm8\n"s, "Zm9v\n"s, " Zm9"s, "Zm-_"s, "Zm9\0"s, "Zm9\x80"s, "Zm9vZg==\n"s}) {
        EXPECT_EQ(decodeBase64(text), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace tessel
