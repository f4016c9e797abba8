#include "stores/LocalFileConfigStore.h"

#include <cerrno>
#include <memory>
#include <system_error>
#include <utility>

#include "ConfigStoreConstants.h"
#include "InputFile.h"
#include "quill/FileUtils.h"
#include "quill/StringUtils.h"
#include "tessel/SecureStringUtils.h"
#include "tessel/TesselLogger.h"
#include "xml/LocalFileFormat.h"
#include "xml/SiblingLock.h"
#include "xml/XmlCharacters.h"
#include "xml/XmlComposer.h"
#include "xml/XmlDocument.h"

using QuillCoreUtils::FileUtils;

namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("LocalFileConfigStore");
    return instance;
}

std::string withSeparator(const std::string& directory) {
    return directory.empty() ? directory : directory + FileUtils::FileSeparator();
}

std::string backupNameOf(const std::string& fileName) {
    return fileName.substr(0, fileName.rfind('.')) + "-backup.xml";
}

/// Moves a file to the first free name of "-backup-1.xml", "-backup-2.xml" and so on. @param backup "-backup.xml".
/// @return false if it is where it was.
bool moveToFreeName(const std::string& path, const std::string& backup, const char* function, const char* file) {
    const std::string stem = backup.substr(0, backup.rfind('.'));
    std::string kept;
    // A link that leads nowhere does not exist for whoever looks, but its name is not free.
    int error = EEXIST;
    for (int number = 1; error == EEXIST; ++number) {
        kept = stem + "-" + std::to_string(number) + ".xml";
        error = FileUtils::fileExists(kept) ? EEXIST : FileUtils::moveFile(path, kept, true);
    }
    if (error != 0) {
        return false;
    }
    TesselLog(logger(), 3, __FILE__, __LINE__, function, std::string(file) + " is kept as: " + kept);
    return true;
}

/// @return false if a backup that is there would be lost.
bool keepEarlierBackup(const std::string& path) {
    return !FileUtils::fileExists(path) || moveToFreeName(path, path, "readFromFile", "earlier backup file");
}

/// Reads a file for the second time, after one that has not been read to its end. A well-formed document is logged with
/// a line about the first time, and nothing of it stays in the text: there may be secrets in it.
/// @param error what the disk said the first time; becomes 0 if it gives the file now.
/// @param contents what it gives now; empty if it gives nothing.
/// @return null if there is no well-formed document.
std::shared_ptr<xmlDoc> readOnceMore(const std::string& path, int& error, std::string& contents) {
    if (!FileUtils::readFile(path, contents)) {
        return nullptr;
    }
    const int firstError = std::exchange(error, 0);
    std::shared_ptr<xmlDoc> document = readXmlMemory(contents.data(), contents.length(), path);
    if (document != nullptr) {
        tessel::SecureStringUtils::TesselZeroString(contents);
        TesselLog(logger(), 3, __FILE__, __LINE__, "readFromFile",
                  "config file was read at the second try only: " + path + ": " +
                      std::generic_category().message(firstError));
    }
    return document;
}

/// @return false if characters were replaced.
bool composeEntry(XmlComposer& composer, const std::wstring& key, const std::wstring& value) {
    composer.startElement("userConfig");
    const bool isKeyWhole = composer.writeAttribute("name", key);
    const bool isValueWhole = composer.writeAttribute("value", value);
    composer.endElement();
    return isKeyWhole && isValueWhole;
}

}  // namespace

LocalFileConfigStore::LocalFileConfigStore(std::string name, std::int32_t priority, bool isLocal,
                                           LocalFileConfigStore* former)
    : LocalFileConfigStore(std::move(name), priority, FileUtils::getConfigDirectory(),
                           ConfigStoreConstants::LOCAL_FILE_CONFIG_STORE_FILE_NAME, isLocal, false, former) {}

LocalFileConfigStore::LocalFileConfigStore(std::string name, std::int32_t priority, std::string directory,
                                           std::string fileName, bool isLocal, bool readOnly,
                                           LocalFileConfigStore* former)
    : name_(std::move(name)),
      priority_(priority),
      isLocal_(isLocal),
      readOnly_(readOnly),
      directory_(withSeparator(directory)),
      fileName_(std::move(fileName)) {
    if (former == nullptr || former->filePath() != filePath() || former->hasUnreadFile()) {
        readFromFile();
    } else if (!takeOverReading(*former) && !readUnlessRefused()) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "readFromFile",
                  "config file cannot be read, the values from before are kept and written to it: " + filePath());
        takeOverValues(*former);
    }
}

bool LocalFileConfigStore::getValue(const std::wstring& key, std::wstring& value) {
    return lookUp(FoldedKey(key), value);
}

bool LocalFileConfigStore::lookUp(const FoldedKey& key, std::wstring& value) {
    tessel::ScopedLock lock(mutex_);
    return answer(values_.find(key), key, value);
}

void LocalFileConfigStore::expect(std::span<const FoldedKey> keys) {
    const tessel::ScopedLock lock(mutex_);
    values_.fetchAhead(keys);
}

bool LocalFileConfigStore::storeValue(const std::wstring& key, const std::wstring& value) {
    return store(FoldedKey(key), value);
}

bool LocalFileConfigStore::store(const FoldedKey& key, const std::wstring& value) {
    const std::wstring& currentKey = LocalFileFormat::currentKey(key.text());
    tessel::ScopedLock lock(mutex_);
    const bool isChanged =
        &currentKey == &key.text() ? values_.set(key, value) : values_.set(FoldedKey(currentKey), value);
    if (isChanged) {
        ++change_;
    }
    return true;
}

std::vector<std::wstring> LocalFileConfigStore::getKeys() {
    tessel::ScopedLock lock(mutex_);
    return values_.keys();
}

bool LocalFileConfigStore::removeValue(const std::wstring& key) {
    tessel::ScopedLock lock(mutex_);
    if (!values_.erase(FoldedKey(key))) {
        return false;
    }
    ++change_;
    return true;
}

void LocalFileConfigStore::removeAllValues() {
    tessel::ScopedLock lock(mutex_);
    if (values_.size() != 0) {
        values_.clear();
        ++change_;
    }
}

bool LocalFileConfigStore::isReadOnly() { return readOnly_; }

std::string LocalFileConfigStore::getName() { return name_; }

std::int32_t LocalFileConfigStore::getPriority() { return priority_; }

void LocalFileConfigStore::persistValues() {
    tessel::ScopedLock fileLock(fileMutex_);
    // Those that come from here on may be for values that this write does not find.
    const std::uint64_t requests = requests_;
    if (readOnly_ || destroyed_) {
        return;
    }
    if (!isInFile()) {
        Document document = composeDocument();
        const std::uint64_t change = document.change;
        lastWriteFailed_ =
            isFolderStrangers("persistValues", "config file NOT written") || !writeFile(std::move(document));
        if (lastWriteFailed_) {
            return;
        }
        notePersisted(change);
    }
    doneRequests_ = requests;
}

void LocalFileConfigStore::persistRequested(std::uint64_t request) {
    tessel::ScopedLock fileLock(fileMutex_);
    // Values that have come since are for the requests behind this one; what another program has done to the file is
    // not.
    if (request > doneRequests_ || !isFileAsWritten()) {
        persistValues();
    }
}

void LocalFileConfigStore::persistAgain() {
    tessel::ScopedLock fileLock(fileMutex_);
    if (lastWriteFailed_) {
        persistValues();
    }
}

void LocalFileConfigStore::destroy() {
    tessel::ScopedLock fileLock(fileMutex_);
    destroyed_ = true;
}

bool LocalFileConfigStore::isLocal() { return isLocal_; }

bool LocalFileConfigStore::waitForStoreReady() { return true; }

bool LocalFileConfigStore::shouldCacheConfigStore() { return false; }

bool LocalFileConfigStore::hasUnpersistedValues() {
    tessel::ScopedLock lock(mutex_);
    return change_ != persistedChange_;
}

void LocalFileConfigStore::takeOverValues(LocalFileConfigStore& replaced) {
    if (replaced.filePath() != filePath()) {
        return;
    }
    const bool isUnreadFileInPlace = replaced.hasUnreadFile();
    Values taken = replaced.copyValues();
    tessel::ScopedLock fileLock(fileMutex_);
    tessel::ScopedLock lock(mutex_);
    // What this one may have read of it goes with its own values.
    if (isUnreadFileInPlace) {
        unreadFileIsInPlace_ = true;
    }
    values_.exchange(std::move(taken.entries));
    ++change_;
}

bool LocalFileConfigStore::takeOverReading(LocalFileConfigStore& former) {
    const FileStamp file = former.unchangedFile();
    if (!file.exists() || file != FileStamp::of(filePath())) {
        return false;
    }
    Values read = former.copyValues();
    if (read.change != 0) {
        return false;  // changed meanwhile
    }
    tessel::ScopedLock lock(mutex_);
    values_.exchange(std::move(read.entries));
    readFile_ = file;
    return true;
}

bool LocalFileConfigStore::hasUnreadFile() {
    tessel::ScopedLock fileLock(fileMutex_);
    return unreadFileIsInPlace_;
}

FileStamp LocalFileConfigStore::unchangedFile() {
    tessel::ScopedLock lock(mutex_);
    return change_ == 0 ? readFile_ : FileStamp();
}

bool LocalFileConfigStore::readFromFile() {
    tessel::ScopedLock fileLock(fileMutex_);
    tessel::ScopedLock lock(mutex_);
    const Reading reading = read();
    if (reading == Reading::NotGiven) {
        setInvalidFileAside("");
    } else if (reading == Reading::NotSeen) {
        logMissingFile();
        unreadFileIsInPlace_ = true;
    }
    return reading == Reading::Done || reading == Reading::NotGiven;
}

bool LocalFileConfigStore::readUnlessRefused() {
    tessel::ScopedLock fileLock(fileMutex_);
    tessel::ScopedLock lock(mutex_);
    const Reading reading = read();
    return reading == Reading::Done || reading == Reading::NoFile;
}

LocalFileConfigStore::Reading LocalFileConfigStore::read() {
    if (!FileUtils::fileExists(filePath())) {
        if (InputFile::mayBeThere(filePath())) {
            return Reading::NotSeen;
        }
        logMissingFile();
        return Reading::NoFile;
    }
    const FileStamp stamp = values_.size() == 0 ? FileStamp::beforeReading(filePath()) : FileStamp();
    int error = 0;
    std::string contents;
    std::shared_ptr<xmlDoc> document = readXmlFile(filePath(), error);
    if (document == nullptr && error != 0) {
        document = readOnceMore(filePath(), error, contents);
    } else if (document == nullptr) {
        FileUtils::readFile(filePath(), contents);
    }
    readFile_ = document != nullptr ? stamp : FileStamp();
    if (document != nullptr) {
        processXml(xmlDocGetRootElement(document.get()));
    } else if (error != 0 && !InputFile::isKnownAsOther(filePath())) {
        return Reading::NotGiven;
    } else {
        setInvalidFileAside(contents);
    }
    return Reading::Done;
}

void LocalFileConfigStore::logMissingFile() {
    TesselLog(logger(), 3, __FILE__, __LINE__, "readFromFile",
              L"Read config FAILED, config file doesn't exist: " + QuillCoreUtils::toWideString(filePath()));
}

void LocalFileConfigStore::processXml(xmlNode* node) {
    for (xmlNode* current = node; current != nullptr; current = nextXmlNode(current, node)) {
        if (current->type == XML_ELEMENT_NODE) {
            processUserConfigXml(current);
        }
    }
}

void LocalFileConfigStore::processUserConfigXml(xmlNode* node) {
    if (!LocalFileFormat::isEntry(node)) {
        return;
    }
    if (auto entry = LocalFileFormat::readEntry(node, LocalFileFormat::movesVoicemailKey(name_))) {
        values_.add(std::move(entry->key), std::move(entry->value));
    }
}

void LocalFileConfigStore::setInvalidFileAside(const std::string& contents) {
    const std::string backupName = backupNameOf(fileName_);
    TesselLog(logger(), 2, __FILE__, __LINE__, "readFromFile",
              "Error Invalid XML syntax detected - Unable to read localFileConfigStore configuration\n"
              "renaming invalid file to: " +
                  backupName + " and creating new blank XML document");
    TesselLog(logger(), 2, __FILE__, __LINE__, "readFromFile",
              "contents of invalid xml with string length: " + std::to_string(contents.length()) + "\n" + contents);
    const std::string backupPath = directory_ + backupName;
    // An earlier backup that the disk would not let be looked at is there all the same.
    if (isFolderStrangers("readFromFile", "invalid file NOT renamed") || !keepEarlierBackup(backupPath) ||
        FileUtils::moveFile(filePath(), backupPath, true) != 0) {
        TesselLog(logger(), 2, __FILE__, __LINE__, "readFromFile",
                  L"error creating backup file: " + QuillCoreUtils::toWideString(backupPath));
        unreadFileIsInPlace_ = true;
    }
}

void LocalFileConfigStore::keepUnreadFile() {
    if (unreadFileIsInPlace_) {
        unreadFileIsInPlace_ =
            InputFile::mayBeThere(filePath()) &&
            !moveToFreeName(filePath(), directory_ + backupNameOf(fileName_), "persistValues", "invalid file");
    }
}

bool LocalFileConfigStore::isFolderStrangers(const char* function, const std::string& refused) {
    const bool isStrangers = FileUtils::isStrangersLink(directory_);
    if (isStrangers) {
        TesselLog(logger(), 2, __FILE__, __LINE__, function,
                  refused + ", since somebody else has put a link in the place of its folder: " + filePath());
    }
    return isStrangers;
}

void LocalFileConfigStore::createConfigDirectory() {
    if (directory_.empty()) {
        return;
    }
    // Without the separator.
    FileUtils::createDirectory(directory_.substr(0, directory_.length() - 1));
}

LocalFileConfigStore::Values LocalFileConfigStore::copyValues() {
    tessel::ScopedLock lock(mutex_);
    return {values_.entries(), change_};
}

bool LocalFileConfigStore::isInFile() { return !hasUnpersistedValues() && isFileAsWritten(); }

bool LocalFileConfigStore::isFileAsWritten() {
    return writtenFile_.exists() && FileStamp::of(filePath()) == writtenFile_;
}

bool LocalFileConfigStore::writeFile(Document document) {
    createConfigDirectory();
    const SiblingLock siblingLock(directory_);
    const std::string temporaryPath = directory_ + "." + fileName_ + ".temp";
    XmlFileWriter writer(temporaryPath);
    if (!writer.isOpen()) {
        return false;
    }
    for (const std::string& key : document.altered) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "persistValues",
                  "characters that XML cannot hold were replaced in the entry: " + key);
    }
    writer.takeDocument(std::move(document.text));
    const bool written = finishDocument(writer) && replaceFile(temporaryPath);
    if (written) {
        // While no other process can have written one of its own.
        writtenFile_ = FileStamp::of(filePath());
    }
    FileUtils::removeFile(temporaryPath);
    return written;
}

LocalFileConfigStore::Document LocalFileConfigStore::composeDocument() {
    XmlComposer composer;
    Document document;
    tessel::ScopedLock lock(mutex_);
    composer.startElement("Corvid");
    values_.visitInOrder([&](const KeyedValues::Entry& entry) {
        if (!composeEntry(composer, entry.key, entry.value)) {
            document.altered.push_back(toXmlText(entry.key).text);
        }
    });
    composer.endElement();
    document.text = std::move(composer.text());
    document.change = change_;
    return document;
}

bool LocalFileConfigStore::finishDocument(XmlFileWriter& writer) {
    if (writer.finish()) {
        return true;
    }
    TesselLog(logger(), 2, __FILE__, __LINE__, "persistValues",
              "writing temp file failed, config file left as it was: " + filePath());
    return false;
}

bool LocalFileConfigStore::replaceFile(const std::string& temporaryPath) {
    keepUnreadFile();
    if (FileUtils::copyFile(temporaryPath, filePath(), false)) {
        return true;
    }
    TesselLog(logger(), 2, __FILE__, __LINE__, "persistValues",
              std::string("copying temp file to destination failed, copyfile returned"));
    return false;
}

void LocalFileConfigStore::notePersisted(std::uint64_t change) {
    unreadFileIsInPlace_ = false;
    tessel::ScopedLock lock(mutex_);
    persistedChange_ = change;
}
