#include "reading/StoreSources.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <utility>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "output/ShownPath.h"
#include "quill/StringUtils.h"
#include "reading/ClientKeys.h"
#include "reading/ProblemText.h"
#include "reading/TransferNote.h"
#include "stores/BootstrapConfigStore.h"
#include "xml/DocumentInspector.h"

namespace corvidctl {

namespace {

namespace fs = std::filesystem;
using Clock = StoreOrigin::Clock;

constexpr const char* UNREADABLE = "it cannot be read";

/// Nothing if there is no such file; of a link, that of what it leads to.
std::optional<Clock::time_point> timeOf(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) {
        return std::nullopt;
    }
    const auto sinceEpoch =
        std::chrono::seconds(status.st_mtim.tv_sec) + std::chrono::nanoseconds(status.st_mtim.tv_nsec);
    return Clock::time_point(std::chrono::duration_cast<Clock::duration>(sinceEpoch));
}

bool isThere(const std::string& file) {
    std::error_code error;
    return fs::exists(file, error);
}

/// A pipe can be read once only, and by the module.
bool canBeReadTwice(const std::string& file) {
    std::error_code error;
    return fs::is_regular_file(file, error);
}

bool isReadable(const std::string& file) {
    std::error_code error;
    return !fs::is_directory(file, error) && ::access(file.c_str(), R_OK) == 0;
}

/// Where the module puts a local file that it cannot read.
std::string backupOf(const std::string& file) { return file.substr(0, file.rfind('.')) + "-backup.xml"; }

KeySource sourceOf(const DocumentReport::Entry& entry) {
    KeySource source;
    source.line = entry.line;
    source.isMarkup = entry.isMarkup;
    source.isMarkedSensitive = entry.sensitive;
    if (isRuledByFipsMode(entry.key)) {
        source.behindFipsRule = QuillCoreUtils::toString(entry.value);
    }
    source.underOldName = !QuillCoreUtils::caseInsensitiveStringEquals(entry.name, entry.key);
    return source;
}

/// Of several entries of one key the first one counts.
void noteDocument(StoreSource& source, const DocumentReport& report) {
    if (!report.valid && !report.errors.empty()) {
        source.origin.problem = problemText(report);
        source.origin.problemLine = report.errors.front().line;
    }
    for (const DocumentReport::Entry& entry : report.entries) {
        source.keys[entry.key] = sourceOf(entry);
    }
    for (const DocumentReport::Finding& warning : report.warnings) {
        if (warning.key.empty()) {
            continue;
        }
        if (warning.kind == DocumentReport::Kind::DuplicateKey) {
            source.keys[warning.key].ignoredLines.push_back(warning.line);
        } else if (warning.kind == DocumentReport::Kind::LostEntry) {
            source.lostLines[warning.key].push_back(warning.line);
        }
    }
}

/// Of several lines with one key the last one counts.
void noteBootstrapLine(StoreSource& source, const std::string& line, int number) {
    std::string key;
    std::string value;
    if (line.empty() || !BootstrapConfigStore::readKeyValue(line, key, value)) {
        return;
    }
    KeySource& entry = source.keys[QuillCoreUtils::toWideString(key)];
    if (entry.line != 0) {
        entry.ignoredLines.push_back(entry.line);
    }
    entry.line = number;
    entry.lacksSeparator = line.find(BootstrapConfigStore::SPLITTER()) == std::string::npos;
    entry.holdsHash = value.find('#') != std::string::npos;
    if (isRuledByFipsMode(QuillCoreUtils::toWideString(key))) {
        entry.behindFipsRule = value;
    }
}

/// Where the copy came from, if it is known: better than when the file was written, which an unchanged delivery leaves.
void noteTransfer(StoreOrigin& origin) {
    if (const std::optional<TransferNote> note = noteOn(origin.file)) {
        origin.url = note->url;
        origin.time = note->time;
    }
}

bool isKeptCopy(const std::string& store) {
    const std::string name = QuillCoreUtils::toLowercase(store);
    return name.starts_with("cached") && name.ends_with(".xml");
}

}  // namespace

const char* nameOf(StoreState state) {
    switch (state) {
    case StoreState::Loaded:
        return "loaded";
    case StoreState::Missing:
        return "missing";
    case StoreState::Failed:
        return "failed";
    case StoreState::Empty:
        break;
    }
    return "empty";
}

StoreState stateOf(const StoreOrigin& origin, std::size_t keys) {
    if (!origin.problem.empty()) {
        return StoreState::Failed;
    }
    if (keys > 0) {
        return StoreState::Loaded;
    }
    return origin.isMissing ? StoreState::Missing : StoreState::Empty;
}

const KeySource* findKey(const StoreSource& source, const std::wstring& key) {
    const auto found = source.keys.find(key);
    return found == source.keys.end() ? nullptr : &found->second;
}

StoreSources::StoreSources(const Places& places) : places_(places) {
    using namespace ConfigStoreConstants;
    addDocument(TFTP_OVERRIDE_CONFIG_STORE_NAME, places.configDirectory + "/" + TFTP_OVERRIDE_FILE_NAME);
    addLocalFile(LOCAL_FILE_STORE_NAME, places.configDirectory + "/" + LOCAL_FILE_CONFIG_STORE_FILE_NAME);
    StoreSource& local = toChange(LOCAL_FILE_STORE_NAME);
    local.keysAtStart = local.keys;
    addCacheFiles();
    addBootstrapFile(places.bootstrapFile);
    addLocalFile(DEFAULT_CONFIG_STORE_FILE_NAME, places.installationDirectory + "/" + DEFAULT_CONFIG_STORE_FILE_NAME);
    toChange(TFTP_CONFIG_STORE_NAME).origin.isLive = true;
}

void StoreSources::noteDownloads(const DownloadJournal::Snapshot& downloads) {
    StoreOrigin& origin = toChange(ConfigStoreConstants::TFTP_CONFIG_STORE_NAME).origin;
    for (const DownloadJournal::Cycle& cycle : downloads.cycles) {
        for (const DownloadJournal::Attempt& attempt : cycle.attempts) {
            if (cycle.end == DownloadJournal::CycleEnd::Delivered &&
                attempt.end == DownloadJournal::AttemptEnd::Delivered) {
                origin.url = attempt.url;
                origin.time = cycle.ended;
            }
        }
    }
}

void StoreSources::noteFilesSetAside() {
    for (const auto& [store, reading] : sources_) {
        const StoreOrigin& origin = reading.source->origin;
        if (!origin.problem.empty() && !isThere(origin.file) && isThere(backupOf(origin.file))) {
            toChange(store).origin.setAside = shown(backupOf(origin.file));
        }
    }
}

void StoreSources::readOwnFilesAgain() {
    std::erase_if(sources_, [](const auto& entry) {
        const StoreOrigin& origin = entry.second.source->origin;
        return origin.isCached && !isThere(origin.file);
    });
    addCacheFiles();
    const std::string local = ConfigStoreConstants::LOCAL_FILE_STORE_NAME;
    const std::shared_ptr<const StoreSource> before = sources_.at(local).source;
    const bool isSetAside = !before->origin.problem.empty() && !isThere(before->origin.file);
    if (!isSetAside && addLocalFile(local, before->origin.file)) {
        toChange(local).keysAtStart = before->keysAtStart;
    }
}

const StoreSource& StoreSources::of(const std::string& store) {
    const auto found = sources_.find(store);
    if (found != sources_.end()) {
        return *found->second.source;
    }
    return isKeptCopy(store) ? add(store, cacheDirectory() + "/" + store) : toChange(store);
}

std::vector<std::string> StoreSources::failedStores() const {
    std::vector<std::string> stores;
    for (const auto& [store, reading] : sources_) {
        if (!reading.source->origin.problem.empty()) {
            stores.push_back(store);
        }
    }
    return stores;
}

std::vector<std::string> StoreSources::keptCopies() const {
    std::vector<std::string> stores;
    for (const auto& [store, reading] : sources_) {
        if (reading.source->origin.isCached) {
            stores.push_back(store);
        }
    }
    return stores;
}

StoreSource& StoreSources::add(const std::string& store, const std::string& file) {
    Reading& reading = sources_[store];
    reading = {std::make_shared<StoreSource>(), FileState(file), FileState(CacheFiles::noteBeside(file))};
    StoreSource& source = *reading.source;
    source.origin.file = file;
    source.origin.shownFile = shown(file);
    source.origin.time = timeOf(file);
    source.origin.isMissing = !isThere(file);
    source.origin.isCached = isKeptCopy(store);
    if (!source.origin.isMissing && !isReadable(file)) {
        source.origin.problem = UNREADABLE;
    } else if (source.origin.isCached && canBeReadTwice(file)) {
        noteTransfer(source.origin);
    }
    return source;
}

bool StoreSources::addDocument(const std::string& store, const std::string& file) {
    if (holdsWhatIsIn(store, file)) {
        return false;
    }
    StoreSource& source = add(store, file);
    if (source.origin.problem.empty() && canBeReadTwice(file)) {
        noteDocument(source, inspectDocument(file));
    }
    return true;
}

bool StoreSources::addLocalFile(const std::string& store, const std::string& file) {
    if (!addDocument(store, file)) {
        return false;
    }
    StoreOrigin& origin = sources_[store].source->origin;
    if (origin.isMissing && isThere(backupOf(file))) {
        origin.setAside = shown(backupOf(file));
    }
    return true;
}

bool StoreSources::holdsWhatIsIn(const std::string& store, const std::string& file) const {
    const auto found = sources_.find(store);
    if (found == sources_.end() || found->second.source->origin.file != file) {
        return false;
    }
    const Reading& reading = found->second;
    const FileState note(CacheFiles::noteBeside(file));
    const bool isNoteSame = (reading.note.isMissing() && note.isMissing()) || reading.note.isStill(note);
    return isNoteSame && reading.file.isStill(FileState(file));
}

StoreSource& StoreSources::toChange(const std::string& store) {
    std::shared_ptr<StoreSource>& source = sources_[store].source;
    source = source == nullptr ? std::make_shared<StoreSource>() : std::make_shared<StoreSource>(*source);
    return *source;
}

void StoreSources::addBootstrapFile(const std::string& file) {
    StoreSource& source = add(ConfigStoreConstants::BOOTSTRAP_STORE_NAME, file);
    if (!source.origin.problem.empty() || !canBeReadTwice(file)) {
        return;
    }
    std::ifstream stream(file, std::ios::binary);
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number) {
        noteBootstrapLine(source, line, number);
    }
}

void StoreSources::addCacheFiles() {
    using namespace ConfigStoreConstants;
    const std::string directory = cacheDirectory();
    const std::string ofLinks = CacheFiles::nameFor(URL_PROVISIONING_CONFIG_STORE_NAME);
    addDocument(URL_PROVISIONING_CONFIG_STORE_NAME, directory + "/" + ofLinks);
    std::error_code error;
    for (auto entry = fs::directory_iterator(directory, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (isKeptCopy(name) && name != ofLinks) {
            addDocument(name, entry->path().string());
        }
    }
}

std::string StoreSources::cacheDirectory() const {
    return places_.configDirectory + "/" + ConfigStoreConstants::CACHE_STORE_DIRECTORY_STRING;
}

std::string StoreSources::shown(const std::string& file) const {
    const std::string directory = places_.configDirectory + "/";
    return file.starts_with(directory) ? file.substr(directory.size()) : shownPath(file);
}

}  // namespace corvidctl
