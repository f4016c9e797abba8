#include "stores/CacheConfigStore.h"

#include <utility>

#include "InputFile.h"
#include "quill/FileUtils.h"

CacheConfigStore::CacheConfigStore(std::string name, std::int32_t priority, std::string filePath,
                                   CacheConfigStore* former)
    : XmlConfigStore(std::move(name), priority, true, std::move(filePath), true, former) {}

CacheConfigStore::CacheConfigStore(std::string name, std::int32_t priority, std::string filePath,
                                   const ConfigMap& values)
    : XmlConfigStore(std::move(name), priority, true, std::move(filePath), false) {
    setValues(values);
    CacheConfigStore::persistValues();
}

void CacheConfigStore::persistValues() {
    tessel::ScopedLock lock(fileMutex_);
    write([] { return true; });
}

void CacheConfigStore::restoreFile() {
    tessel::ScopedLock lock(fileMutex_);
    write([this] { return !QuillCoreUtils::FileUtils::fileExists(getFilePath()); });
}

void CacheConfigStore::persistAgain() {
    tessel::ScopedLock lock(fileMutex_);
    if (fileLeft_.has_value()) {
        // A store that takes this one's place may be writing its later values just now.
        write([this, left = *fileLeft_] { return left == FileStamp::of(getFilePath()); });
    }
}

bool CacheConfigStore::hasUnwrittenValues() {
    tessel::ScopedLock lock(fileMutex_);
    if (!fileLeft_.has_value()) {
        return false;
    }
    const FileStamp file = FileStamp::of(getFilePath());
    return file == *fileLeft_ || (!file.exists() && InputFile::mayBeThere(getFilePath()));
}

void CacheConfigStore::write(const std::function<bool()>& isWanted) {
    using Outcome = XmlConfigParser::Outcome;
    FileStamp left;
    const auto look = [&] { left = FileStamp::of(getFilePath()); };
    look();
    const auto isWantedNow = [&] {
        // Once more while no other process can write: one that comes afterwards is not to be written over.
        look();
        return isWanted();
    };
    // And after a write that has failed, under the same lock: where only the folder could not be synced the file in
    // place is this store's own, and is to be written once more.
    const Outcome outcome = XmlConfigParser::write(getFilePath(), copyValues(), isWantedNow, look);
    if (outcome == Outcome::Written) {
        fileLeft_.reset();
    } else if (outcome != Outcome::LeftAlone) {
        fileLeft_ = left;
    }
}
