#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "chain/ConfigMap.h"
#include "reading/FileState.h"
#include "remote/DownloadJournal.h"

namespace corvidctl {

/// Whether the values of a store could be had.
enum class StoreState {
    Loaded,   ///< it holds values
    Empty,    ///< there is nothing in it
    Missing,  ///< its file does not exist
    Failed,   ///< its file is there and gives nothing, since it cannot be read
};

/// "loaded", "empty", "missing" or "failed".
const char* nameOf(StoreState state);

/// Where the values of a store come from. Texts are UTF-8; empty where there is nothing to tell.
struct StoreOrigin {
    using Clock = std::chrono::system_clock;

    std::string file;       ///< full path, whether the file exists or not; empty for a store without one
    std::string shownFile;  ///< the same for people: below the configuration directory if it lies
                            ///< there, else below the working directory if it lies there
    std::string url;        ///< of the transfer that delivered the values, if known; of a kept copy too
    std::optional<Clock::time_point> time;  ///< when the file was changed last, or the transfer ended
    bool isCached = false;                  ///< the kept copy of a remote store
    bool isLive = false;                    ///< a server's file as this run has fetched it
    bool isMissing = false;                 ///< the file does not exist
    std::string problem;                    ///< why nothing is read from the file, with the place of the mistake
    int problemLine = 0;                    ///< from 1; 0 if there is no problem, or its line is not known
    std::string setAside;                   ///< where an unreadable file has been put, as shownFile has it
};

/// What a store's file says about one key.
struct KeySource {
    int line = 0;                   ///< of the entry that counts, from 1
    std::vector<int> ignoredLines;  ///< of further entries of the key
    bool isMarkup = false;          ///< the value is the entry's own mark-up
    bool isMarkedSensitive = false;
    bool underOldName = false;    ///< the file has the key under an old name of it
    bool lacksSeparator = false;  ///< a line of the bootstrap file without a colon
    bool holdsHash = false;       ///< a line of the bootstrap file with a "#" in its value
    std::optional<std::string>
        behindFipsRule;  ///< the value, of the key for which FIPS mode answers; UTF-8, not masked
};

struct StoreSource {
    StoreOrigin origin;
    std::map<std::wstring, KeySource, caseInsensitiveMapComparator> keys;
    /// What the file has outside any group, which gives no key; with its lines, from 1.
    std::map<std::wstring, std::vector<int>, caseInsensitiveMapComparator> lostLines;
    /// Of a file that the client writes: what it had when it was read first.
    std::map<std::wstring, KeySource, caseInsensitiveMapComparator> keysAtStart;
};

/// @param keys how many the store in the chain holds.
StoreState stateOf(const StoreOrigin& origin, std::size_t keys);

/// The line or lines that a store's file has on a key; null if it has none.
const KeySource* findKey(const StoreSource& source, const std::wstring& key);

/// The sources of all stores whose files this system knows, each read once. No values are kept but those in whose place
/// FIPS mode answers. Copies share what has been read, and may be used on threads of their own.
///
/// Made before the module is put in: the module moves a local file that it cannot read, and the place of the mistake
/// with it. One thread.
class StoreSources {
public:
    /// Full paths without trailing separators.
    struct Places {
        std::string configDirectory;
        std::string installationDirectory;
        std::string bootstrapFile;
    };

    /// Reads the files. Nothing is moved or changed. What libxml2 may print besides is for the caller to catch
    /// (host::XmlDiagnostics); a running host does so anyway.
    explicit StoreSources(const Places& places);

    /// Notes which transfer delivered what the remote store holds.
    void noteDownloads(const DownloadJournal::Snapshot& downloads);

    /// Notes which unreadable files the module has put aside: once it has been put in.
    void noteFilesSetAside();

    /// Reads those files anew that the client writes while it runs, if they have been written: the user's own, and the
    /// kept copies. Of the others it holds what they were at its start. A file that has been set aside keeps its
    /// problem until there is a new one.
    void readOwnFilesAgain();

    /// @param store a name in the chain, in any case. @return one without a file for an unknown store, and a missing
    ///        file for a kept copy that has never been written; valid as long as this.
    const StoreSource& of(const std::string& store);

    /// Names of the stores whose file is there and gives nothing, whether they are in the chain or not.
    std::vector<std::string> failedStores() const;

    /// Names of the stores that a kept copy in the cache directory would make.
    std::vector<std::string> keptCopies() const;

private:
    /// What has been read of a store, and what its file looked like then. Copies share it: it is replaced, and changed
    /// only by what has just made it.
    struct Reading {
        std::shared_ptr<StoreSource> source;
        FileState file;
        FileState note;  ///< beside a kept copy
    };

    StoreSource& add(const std::string& store, const std::string& file);
    /// @return false if the file is what was read before.
    bool addDocument(const std::string& store, const std::string& file);
    bool addLocalFile(const std::string& store, const std::string& file);
    void addBootstrapFile(const std::string& file);
    void addCacheFiles();
    bool holdsWhatIsIn(const std::string& store, const std::string& file) const;
    /// A copy of a store's source that nobody shares, in its place.
    StoreSource& toChange(const std::string& store);
    std::string cacheDirectory() const;
    std::string shown(const std::string& file) const;

    const Places places_;
    std::map<std::string, Reading, caseInsensitiveStringComparator<std::string>> sources_;
};

}  // namespace corvidctl
