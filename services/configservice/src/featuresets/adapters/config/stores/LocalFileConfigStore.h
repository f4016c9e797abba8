#pragma once

#include <libxml/tree.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ConfigStore.h"
#include "LockRanks.h"
#include "chain/FoldedLookup.h"
#include "chain/FoldedWrite.h"
#include "chain/KeyedValues.h"
#include "chain/PersistRequests.h"
#include "stores/FileStamp.h"
#include "tessel/Mutex.h"
#include "xml/XmlFileWriter.h"

/// Name and value pairs in a small XML file of its own: the user's writable store, and the read-only defaults file of
/// the installation. Reads its file at construction; writes it only in persistValues(), the whole map each time.
///
/// Any thread. Reading and storing take the lock of the values only, and so never wait for a disk.
///
/// A key comes back from the file in lower case, which a lookup does not notice. A character that XML cannot hold comes
/// back as U+FFFD. An entry with the empty key stays in memory. "VVM_Mailstore_Server_0" is stored under its current
/// name, "VoicemailPrimaryServer", by every store of this class, and read under it by all but the defaults store.
class LocalFileConfigStore : public ConfigStore, public FoldedLookup, public FoldedWrite, public PersistRequests {
public:
    /// The user's file, "corvidLocalConfig.xml" in the configuration directory; writable.
    /// @param former a store of the same name or null. What it has read need not be read again, if the file is still
    ///        the same and the store has not been changed since. Where the disk does not let the file be looked at or
    ///        read, although there may be one, the former's values are taken over as takeOverValues() does, and the
    ///        file is left where it is: the next write replaces it. Not so if the former could not read it either.
    LocalFileConfigStore(std::string name, std::int32_t priority, bool isLocal, LocalFileConfigStore* former = nullptr);

    /// @param directory used unchanged with a separator appended, unless empty. @param fileName the file in it.
    LocalFileConfigStore(std::string name, std::int32_t priority, std::string directory, std::string fileName,
                         bool isLocal, bool readOnly, LocalFileConfigStore* former = nullptr);

    /// Applies the rule for FIPS mode to a hit.
    bool getValue(const std::wstring& key, std::wstring& value) override;
    bool lookUp(const FoldedKey& key, std::wstring& value) override;
    void expect(std::span<const FoldedKey> keys) override;
    const KeyFilter* filter() const override { return &filter_; }

    /// Memory only, and always true, on a read-only or destroyed store too.
    bool storeValue(const std::wstring& key, const std::wstring& value) override;
    bool store(const FoldedKey& key, const std::wstring& value) override;
    std::vector<std::wstring> getKeys() override;
    bool removeValue(const std::wstring& key) override;
    void removeAllValues() override;
    bool isReadOnly() override;
    std::string getName() override;
    std::int32_t getPriority() override;

    /// Writes the file, atomically and durably, unless the store is read-only or destroyed. A failure is logged (a
    /// temporary file that cannot be opened is not) and leaves the old file whole; the values stay in memory and the
    /// next call that can writes them. It fails where the folder is a link of somebody else's
    /// (FileUtils::isStrangersLink()). Skipped when the file already holds these very values by this store's own hand.
    void persistValues() override;

    /// A write that failed has done no request.
    std::uint64_t requestPersist() override { return ++requests_; }
    void persistRequested(std::uint64_t request) override;

    /// Does what persistValues() does if the last write failed, else nothing: what has been stored since a write that
    /// went well is left to the next persist.
    void persistAgain();

    /// Waits for a write that is under way; the file is not written again.
    void destroy() override;
    bool isLocal() override;
    bool waitForStoreReady() override;
    bool shouldCacheConfigStore() override;

    /// True if a change has not reached the file.
    bool hasUnpersistedValues();

    /// Takes over all values of a store that this one replaces, in place of its own, when they could not be written to
    /// the file that this one has read. They count as not persisted. Takes nothing from a store of another file: those
    /// are the values of another user profile. A file that the replaced store could not read is set aside before it is
    /// written over, whether or not this one has read it. Holds one store's locks at a time.
    void takeOverValues(LocalFileConfigStore& replaced);

    /// Adds the file's entries to the values that are there; the first entry of a key stays. A file that is no
    /// well-formed document is moved aside: its name's last extension becomes "-backup.xml". A backup of that name that
    /// is there already becomes "-backup-1.xml", or the first higher number that is free. If the file cannot be moved,
    /// or the disk does not let it be looked at, the next write moves it to such a number before it writes over it, or
    /// tries to; one that has written nothing leaves that to the next.
    /// A file that the disk does not give at once is asked for a second time before it counts as such. Where the folder
    /// is a link of somebody else's nothing is moved.
    /// @return false if there is no file.
    bool readFromFile();

private:
    /// The values at one moment.
    struct Values {
        KeyedValues::Entries entries;
        std::uint64_t change;
    };

    /// The values at one moment as the file is to have them: in memory, so that no reader waits for a disk.
    struct Document {
        std::string text;
        std::uint64_t change = 0;
        std::vector<std::string> altered;  ///< keys of the entries with characters that were replaced
    };

    enum class Reading {
        Done,      ///< the file's entries are there, or it was set aside since it is not well-formed
        NoFile,    ///< the disk says that there is none
        NotSeen,   ///< the disk does not let it be looked at
        NotGiven,  ///< the disk does not let it be read
    };

    /// The first half of readFromFile(): what the disk refuses is left to the caller.
    Reading read() TESSEL_REQUIRES(fileMutex_, mutex_);
    /// @return false if the disk has refused the file, which is where it was then.
    bool readUnlessRefused();
    void logMissingFile();
    void processXml(xmlNode* node) TESSEL_REQUIRES(mutex_);
    void processUserConfigXml(xmlNode* node) TESSEL_REQUIRES(mutex_);
    /// @param contents for the log.
    void setInvalidFileAside(const std::string& contents) TESSEL_REQUIRES(fileMutex_);
    /// Tries once more what has failed, under another name, before the file is written over. Each write tries it again
    /// until the file has gone or a write has replaced it.
    void keepUnreadFile() TESSEL_REQUIRES(fileMutex_);
    /// Where the folder is a stranger's link nothing is written or moved. @param refused for the log: what is not done.
    bool isFolderStrangers(const char* function, const std::string& refused);
    void createConfigDirectory();
    std::string filePath() const { return directory_ + fileName_; }
    Values copyValues();
    bool takeOverReading(LocalFileConfigStore& former);
    /// Whether a file may be in place that is neither read nor written.
    bool hasUnreadFile();
    /// The file whose values these are; one that does not exist if they have been changed, or if that cannot be told.
    FileStamp unchangedFile();
    bool isInFile() TESSEL_REQUIRES(fileMutex_);
    /// Whether the file is the very one that this store has written last.
    bool isFileAsWritten() TESSEL_REQUIRES(fileMutex_);
    Document composeDocument();
    bool writeFile(Document document) TESSEL_REQUIRES(fileMutex_);
    bool finishDocument(XmlFileWriter& writer);
    bool replaceFile(const std::string& temporaryPath) TESSEL_REQUIRES(fileMutex_);
    void notePersisted(std::uint64_t change) TESSEL_REQUIRES(fileMutex_);

    const std::string name_;
    const std::int32_t priority_;
    const bool isLocal_;
    const bool readOnly_;
    const std::string directory_;
    const std::string fileName_;

    std::atomic<std::uint64_t> requests_ = 0;
    std::atomic<std::uint64_t> doneRequests_ = 0;  ///< this one and all before it

    // Held for a whole write.
    tessel::Mutex fileMutex_{LockRanks::STORE_FILE};
    bool destroyed_ TESSEL_GUARDED_BY(fileMutex_) = false;
    FileStamp writtenFile_ TESSEL_GUARDED_BY(fileMutex_);
    bool unreadFileIsInPlace_ TESSEL_GUARDED_BY(fileMutex_) = false;
    bool lastWriteFailed_ TESSEL_GUARDED_BY(fileMutex_) = false;

    tessel::Mutex mutex_{LockRanks::STORE_VALUES};
    KeyFilter filter_;
    KeyedValues values_ TESSEL_GUARDED_BY(mutex_){filter_};
    /// Each change of the values has a number of its own, counted from 1; 0 is what the constructor read.
    std::uint64_t change_ TESSEL_GUARDED_BY(mutex_) = 0;
    std::uint64_t persistedChange_ TESSEL_GUARDED_BY(mutex_) = 0;
    FileStamp readFile_ TESSEL_GUARDED_BY(mutex_);  ///< the file that gave change 0; nothing if that cannot be told
};
