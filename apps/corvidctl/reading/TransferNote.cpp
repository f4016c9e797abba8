#include "reading/TransferNote.h"

#include <openssl/evp.h>

#include <array>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "chain/CacheFiles.h"
#include "journal/JournalText.h"
#include "quill/FileUtils.h"

namespace corvidctl {

namespace {

using Json = nlohmann::ordered_json;
using QuillCoreUtils::FileUtils;

/// The SHA-256 of a file, in hexadecimal digits; empty if it cannot be read.
std::string digestOf(const std::string& file) {
    std::string contents;
    if (!FileUtils::fileExists(file) || !FileUtils::readFile(file, contents)) {
        return {};
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    if (EVP_Digest(contents.data(), contents.size(), digest.data(), &size, EVP_sha256(), nullptr) != 1) {
        return {};
    }
    std::string text;
    for (unsigned i = 0; i < size; ++i) {
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", digest[i]);
        text += digits.data();
    }
    return text;
}

}  // namespace

bool leaveNote(const std::string& copy, const TransferNote& note) {
    const std::string digest = digestOf(copy);
    const Json json = {{"url", note.url},
                       {"server", note.server},
                       {"version", note.version},
                       {"time", journaltext::timeText(note.time)},
                       {"sha256", digest}};
    const auto replace = Json::error_handler_t::replace;  // a server may answer anything
    return !digest.empty() &&
           FileUtils::writeFileAtomically(CacheFiles::noteBeside(copy), json.dump(2, ' ', false, replace) + '\n');
}

std::optional<TransferNote> noteOn(const std::string& copy) {
    std::string contents;
    if (!FileUtils::fileExists(CacheFiles::noteBeside(copy)) ||
        !FileUtils::readFile(CacheFiles::noteBeside(copy), contents)) {
        return std::nullopt;
    }
    try {
        const Json json = Json::parse(contents);
        const auto time = journaltext::timeOf(json.at("time").get<std::string>());
        const std::string digest = json.at("sha256").get<std::string>();
        if (!time || digest.empty() || digest != digestOf(copy)) {
            return std::nullopt;
        }
        return TransferNote{json.at("url").get<std::string>(), json.at("server").get<std::string>(),
                            json.at("version").get<std::string>(), *time};
    } catch (const Json::exception&) {
        return std::nullopt;
    }
}

}  // namespace corvidctl
