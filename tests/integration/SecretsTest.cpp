// Secrets in the server's file: where they lie, and where they must never be seen.

#include <filesystem>
#include <fstream>
#include <iterator>

#include "Expectations.h"
#include "Servers.h"
#include "quill/StringUtils.h"
#include "tessel/StringEncryptionFacility.h"

using callcontrol::CertificateAuthority;
using namespace integration;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

const std::string PASSWORD = "tr0ub4dor-directory";
const std::string BDI_PASSWORD = "tr0ub4dor-contacts";
const std::string PIN = "tr0ub4dor-pin";
const std::string COMMON_PART = "tr0ub4dor";

std::string contentsOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Files below a folder that hold the text.
std::vector<std::string> filesWith(const std::string& folder, const std::string& text) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file() && contentsOf(entry.path()).find(text) != std::string::npos) {
            files.push_back(entry.path());
        }
    }
    return files;
}

class Secrets : public testing::Test {
protected:
    Secrets() {
        server_.serveText("<config><group>"
                          "<origin>server</origin>"
                          "<ConnectionPassword>" +
                          PASSWORD +
                          "</ConnectionPassword>"
                          "<BDIConnectionPassword>" +
                          BDI_PASSWORD +
                          "</BDIConnectionPassword>"
                          "<VoicemailPin sensitive=\"true\">" +
                          PIN +
                          "</VoicemailPin>"
                          "</group></config>");
        client_.startAndFetch();
    }

    std::string decoded(const std::wstring& key) const {
        return tessel::StringEncryptionFacility::decodeEncryptedString(QuillCoreUtils::toString(client_.value(key)))
            .reveal()
            .value_or("no secret");
    }

    const CertificateAuthority authority_;
    const Server server_{authority_};
    Client client_{{.servers = {server_.address()}, .version = "12", .trusted = authority_.certificate()}};
};

}  // namespace

TEST_F(Secrets, OfTheTwoPasswordKeysLieEncipheredInTheStore) {
    EXPECT_THAT(client_.value(L"ConnectionPassword"), Not(HasSubstr(QuillCoreUtils::toWideString(COMMON_PART))));
    EXPECT_EQ(decoded(L"ConnectionPassword"), PASSWORD);
    EXPECT_EQ(decoded(L"BDIConnectionPassword"), BDI_PASSWORD);
}

TEST_F(Secrets, OfOtherKeysLieInTheStoreAsTheyCame) {
    EXPECT_EQ(client_.value(L"VoicemailPin"), QuillCoreUtils::toWideString(PIN));
}

TEST_F(Secrets, AreInNoLineOfTheLog) {
    EXPECT_EQ(client_.log().count(4, "\nbdiconnectionpassword: VALUE_HIDDEN\nconnectionpassword: VALUE_HIDDEN\n"
                                     "origin: server\nvoicemailpin: VALUE_HIDDEN"),
              1U);
    EXPECT_FALSE(client_.log().mentions(COMMON_PART));
    EXPECT_FALSE(client_.log().mentions(QuillCoreUtils::toString(client_.value(L"ConnectionPassword"))));
    client_.stop();
    EXPECT_FALSE(client_.log().mentions(COMMON_PART));
}

TEST_F(Secrets, AreInNoFileOfTheClients) {
    const std::string enciphered = QuillCoreUtils::toString(client_.value(L"ConnectionPassword"));
    client_.stop();
    EXPECT_THAT(client_.cacheFile(), HasSubstr("<origin>server</origin>"));
    EXPECT_THAT(client_.cacheFile(), Not(HasSubstr("password")));
    EXPECT_THAT(client_.cacheFile(), Not(HasSubstr("voicemailpin")));
    EXPECT_THAT(filesWith(client_.directory().path(), COMMON_PART), IsEmpty());
    EXPECT_THAT(filesWith(client_.directory().path(), enciphered), IsEmpty());
}

TEST_F(Secrets, AreMissingAfterARestartUntilTheServerHasAnswered) {
    client_.stop();
    client_.start();
    EXPECT_EQ(client_.value(L"origin"), L"server");
    EXPECT_EQ(client_.value(L"ConnectionPassword"), L"");
    EXPECT_EQ(client_.value(L"VoicemailPin"), L"");
    client_.fetch();
    EXPECT_EQ(decoded(L"ConnectionPassword"), PASSWORD);
}
