#include "comparing/SimulationPlan.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "ConfigStoreConstants.h"
#include "comparing/DocumentContents.h"
#include "comparing/StoreNames.h"
#include "quill/StringUtils.h"
#include "reading/ReadableFile.h"

namespace corvidctl {

namespace {

namespace fs = std::filesystem;
using QuillCoreUtils::caseInsensitiveStringEquals;

constexpr std::uintmax_t LARGEST_DOWNLOAD = 16 * 1024 * 1024;

constexpr const char* PLACES = "TftpOverrideConfigStore, LocalFileConfigStore, TFTPConfigStore, a cached copy such as "
                               "cachedTFTPConfigStore.xml, UrlProvisioningConfigStore, BootstrapConfigStore or "
                               "corvid-config-defaults.xml";

/// Those of a fixed name, in chain order.
std::array<std::pair<StorePlace, std::string>, 6> fixedPlaces() {
    using namespace ConfigStoreConstants;
    return {{
        {StorePlace::Override, TFTP_OVERRIDE_CONFIG_STORE_NAME},
        {StorePlace::LocalFile, LOCAL_FILE_STORE_NAME},
        {StorePlace::Server, TFTP_CONFIG_STORE_NAME},
        {StorePlace::Provisioning, URL_PROVISIONING_CONFIG_STORE_NAME},
        {StorePlace::Bootstrap, BOOTSTRAP_STORE_NAME},
        {StorePlace::Defaults, DEFAULT_CONFIG_STORE_FILE_NAME},
    }};
}

std::optional<StorePlace> placeOf(const std::string& store) {
    for (const auto& [place, name] : fixedPlaces()) {
        if (caseInsensitiveStringEquals(name, store)) {
            return place;
        }
    }
    return isNameOfCachedCopy(store) ? std::optional(StorePlace::CachedCopy) : std::nullopt;
}

bool holdsNul(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return std::find(std::istreambuf_iterator<char>(stream), {}, '\0') != std::istreambuf_iterator<char>();
}

/// Reads the options one after the other until one does not fit.
class PlanReader {
public:
    SimulationPlan read(const Invocation& invocation) {
        const auto readAll = [this](const std::vector<std::string>& words,
                                    void (PlanReader::*one)(const std::string&)) {
            for (const std::string& word : words) {
                if (plan_.problem.empty()) {
                    (this->*one)(word);
                }
            }
        };
        readAll(invocation.replaced, &PlanReader::replace);
        readAll(invocation.without, &PlanReader::leaveOut);
        readAll(invocation.setKeys, &PlanReader::set);
        readAll(invocation.unsetKeys, &PlanReader::unset);
        if (plan_.problem.empty() && isEmpty()) {
            plan_.problem = "simulate: expected a change: --replace, --without, --set or --unset";
        }
        return std::move(plan_);
    }

private:
    bool isEmpty() const { return plan_.replacements.empty() && plan_.setKeys.empty() && plan_.unsetKeys.empty(); }

    void replace(const std::string& word) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos || equals == 0 || equals + 1 == word.size()) {
            plan_.problem = "--replace '" + word + "': expected STORE=FILE";
            return;
        }
        const std::string file = word.substr(equals + 1);
        add("--replace '" + word + "'", word.substr(0, equals), file);
        if (!plan_.problem.empty()) {
            return;
        }
        std::error_code error;
        if (!isReadableFile(file)) {
            plan_.problem = "--replace '" + word + "': expected a file that can be read";
        } else if (!fs::is_regular_file(file, error)) {  // it is read more than once
            plan_.problem = "--replace '" + word + "': expected a regular file";
        }
    }

    void leaveOut(const std::string& word) {
        add("--without '" + word + "'", word, std::nullopt);
        if (plan_.problem.empty() && plan_.replacements.back().place == StorePlace::Server) {
            plan_.problem = "--without '" + word +
                            "': the server's file is in no chain before it is fetched; its copy "
                            "on disk is cachedTFTPConfigStore.xml";
        }
    }

    void add(const std::string& words, const std::string& store, const std::optional<std::string>& file) {
        const std::optional<StorePlace> place = placeOf(store);
        if (!place) {
            plan_.problem = words + ": expected a store that has a file: " + PLACES;
            return;
        }
        for (const SimulationPlan::Replacement& other : plan_.replacements) {
            if (caseInsensitiveStringEquals(other.store, store)) {
                plan_.problem = words + ": the store is named already by " + other.words();
                return;
            }
        }
        plan_.replacements.push_back({*place, store, file});
    }

    void set(const std::string& word) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos || equals == 0) {
            plan_.problem = "--set '" + word + "': expected KEY=VALUE";
            return;
        }
        plan_.setKeys.emplace_back(word.substr(0, equals), word.substr(equals + 1));
    }

    void unset(const std::string& word) {
        if (word.empty()) {
            plan_.problem = "--unset '': expected the name of a key";
            return;
        }
        const bool isSetToo = std::any_of(plan_.setKeys.begin(), plan_.setKeys.end(), [&word](const auto& set) {
            return caseInsensitiveStringEquals(set.first, word);
        });
        if (isSetToo) {
            plan_.problem = "--unset '" + word + "': expected another key than --set names";
            return;
        }
        plan_.unsetKeys.push_back(word);
    }

    SimulationPlan plan_;
};

/// What the module does with a file that is not valid in its place.
const char* fateOf(StorePlace place) {
    switch (place) {
    case StorePlace::LocalFile:
        return "the module would set it aside as corvidLocalConfig-backup.xml and start without the user's values";
    case StorePlace::Defaults:
        return "the module would try to set it aside as corvid-config-defaults-backup.xml and have no defaults";
    case StorePlace::Server:
        return "the module would drop the server's values, and keep an empty copy for the next start";
    case StorePlace::Override:
    case StorePlace::CachedCopy:
    case StorePlace::Provisioning:
    case StorePlace::Bootstrap:
        break;
    }
    return "the module would pass it over, and the store would be empty";
}

}  // namespace

std::string SimulationPlan::Replacement::words() const {
    return file ? "--replace '" + store + "=" + *file + "'" : "--without '" + store + "'";
}

std::vector<std::string> namesOfReplaceableStores() {
    std::vector<std::string> names;
    for (const auto& [place, name] : fixedPlaces()) {
        names.push_back(name);
    }
    return names;
}

SimulationPlan readPlan(const Invocation& invocation) { return PlanReader().read(invocation); }

std::string problemOf(const SimulationPlan::Replacement& replacement) {
    const StorePlace place = replacement.place;
    if (!replacement.file) {
        return {};
    }
    const std::string& file = *replacement.file;
    if (place == StorePlace::Bootstrap) {  // every line of a text is a key or is skipped
        return holdsNul(file) ? replacement.words() + ": expected a text with lines of the form KEY: VALUE, and no NUL "
                                                      "byte in it"
                              : std::string();
    }
    std::error_code error;
    if (place == StorePlace::Server && fs::file_size(file, error) > LARGEST_DOWNLOAD && !error) {
        return replacement.words() + ": the file is too large: a download ends after 16 MiB";
    }
    const bool isLocalFile = place == StorePlace::LocalFile || place == StorePlace::Defaults;
    const std::string problem = problemOfDocument(file, isLocalFile);
    if (problem.empty()) {
        return {};
    }
    return replacement.words() + ": not valid in this place: " + problem + "; " + fateOf(place);
}

}  // namespace corvidctl
