// Which lock of the module is made with which place in the order. One that lost its place would be taken for a leaf,
// and an innermost one would go on as before: no run tells of it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Pages.h"

namespace {

const std::filesystem::path TREE = CORVID_SOURCE_DIRECTORY;
constexpr const char* MODULE_SOURCES = "services/configservice/src";

/// A lock that a line of code makes.
struct Lock {
    std::string member;
    std::string place;  ///< in LockRanks.h; "a leaf" if none is given
};

bool isPartOfAName(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
}

std::string nameAt(const std::string& text, std::size_t begin) {
    const auto first = text.begin() + static_cast<std::ptrdiff_t>(std::min(begin, text.size()));
    return {first, std::find_if_not(first, text.end(), isPartOfAName)};
}

/// The lock that the line makes, if it makes one: "tessel::Mutex name{LockRanks::PLACE};", or without a place.
std::vector<Lock> lockOf(const std::string& line) {
    for (const std::string type : {"tessel::Mutex ", "tessel::RWLock "}) {
        const std::size_t begin = line.find(type);
        if (begin == std::string::npos || line.find("//") < begin) {
            continue;
        }
        const std::string member = nameAt(line, begin + type.size());
        const std::size_t behind = begin + type.size() + member.size();
        const std::string withPlace = "{LockRanks::";
        if (line.compare(behind, withPlace.size(), withPlace) == 0) {
            return {{member, nameAt(line, behind + withPlace.size())}};
        }
        if (!member.empty()) {
            return {{member, "a leaf"}};
        }
    }
    return {};
}

/// "FILE MEMBER: PLACE" of each lock of the module.
std::vector<std::string> locksOfTheModule() {
    std::vector<std::string> all;
    for (const auto& file : std::filesystem::recursive_directory_iterator(TREE / MODULE_SOURCES)) {
        if (!file.is_regular_file()) {
            continue;
        }
        std::istringstream lines(docs::readPage(std::filesystem::relative(file, TREE)));
        for (std::string line; std::getline(lines, line);) {
            for (const Lock& lock : lockOf(line)) {
                std::string text = file.path().filename();
                all.push_back(text.append(" ").append(lock.member).append(": ").append(lock.place));
            }
        }
    }
    return all;
}

/// The places that LockRanks.h names.
std::set<std::string> placesOfTheOrder() {
    std::set<std::string> places;
    std::istringstream lines(docs::readPage("services/configservice/src/featuresets/adapters/config/LockRanks.h"));
    const std::string begin = "inline constexpr LockRank ";
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(begin)) {
            places.insert(nameAt(line, begin.size()));
        }
    }
    return places;
}

TEST(LocksOfTheModule, AreMadeWithTheirPlacesInTheOrder) {
    EXPECT_THAT(
        locksOfTheModule(),
        testing::UnorderedElementsAre(
            "ConfigAdapter.h featureSetMutex_: LIFECYCLE", "TftpConfigStore.h downloadMutex_: DOWNLOAD",
            "TftpConfigStore.h observerMutex_: DOWNLOAD_REPORT", "StoreChain.h mutex_: CHAIN",
            "ConfigStoreManager.h observersMutex_: CHAIN_OBSERVERS",
            "ConfigStoreManager.h sensitiveKeysMutex_: SENSITIVE_KEYS", "ConfigAdapter.h cacheFileMutex_: CACHE_FILES",
            "ConfigStoreManager.h linkFileMutex_: CACHE_FILES", "LocalFileConfigStore.h fileMutex_: STORE_FILE",
            "CacheConfigStore.h fileMutex_: STORE_FILE", "XmlFileWriter.cpp mutex: TEMPORARY_FILES",
            "XmlConfigStore.h lock_: STORE_READERS", "LocalFileConfigStore.h mutex_: STORE_VALUES",
            "XmlConfigStore.h changesMutex_: STORE_VALUES", "InMemoryConfigStore.h mutex_: STORE_VALUES",
            "TftpConfigStore.h valuesMutex_: STORE_VALUES", "TftpConfigStore.h queueMutex_: SERVER_QUEUE",
            // Held for a copy, and across no call.
            "SharedText.cpp mutex_: a leaf", "ReportGate.h mutex_: a leaf", "GuardedValue.h mutex_: a leaf",
            "EdgeWatch.h mutex_: a leaf", "DownloadJournal.cpp mutex: a leaf", "UdsVersionQuery.h mutex_: a leaf"));
}

TEST(LocksOfTheModule, HaveEveryPlaceOfTheOrder) {
    std::set<std::string> taken;
    for (const std::string& lock : locksOfTheModule()) {
        taken.insert(lock.substr(lock.find(": ") + 2));
    }
    taken.erase("a leaf");
    EXPECT_EQ(taken, placesOfTheOrder());
    EXPECT_FALSE(taken.empty());
}

/// The body of the function whose definition begins with this text.
std::string bodyOf(const std::string& definition, const std::filesystem::path& file) {
    const std::string text = docs::readPage(file);
    const std::size_t begin = text.find(definition);
    return begin == std::string::npos ? std::string() : text.substr(begin, text.find("\n}", begin) - begin);
}

TEST(LocksOfTheModule, LetADocumentsStoreLoseAKeyAmidItsReaders) {
    const std::string body = bodyOf("bool XmlConfigStore::removeValue(",
                                    "services/configservice/src/featuresets/adapters/config/stores/XmlConfigStore.cpp");
    EXPECT_THAT(body, testing::HasSubstr("tessel::ScopedReadLock lock(lock_);"));
    EXPECT_THAT(body, testing::Not(testing::HasSubstr("ScopedWriteLock")));
}

}  // namespace
