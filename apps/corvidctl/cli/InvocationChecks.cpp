#include "cli/InvocationChecks.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "cli/DataDirectory.h"
#include "cli/FilesOfCommand.h"
#include "comparing/ComparingChecks.h"
#include "exporting/ExportForm.h"
#include "exporting/TargetFile.h"
#include "journal/JournalFile.h"
#include "output/Terminal.h"
#include "reading/ReadableFile.h"
#include "session/WritersTurn.h"

namespace corvidctl {

namespace {

namespace fs = std::filesystem;

constexpr const char* BOOTSTRAP_FILE_NAME = "bootstrap.properties";

using Fips = host::ReferenceHostOptions::Fips;

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

bool isReadableDirectory(const std::string& path) {
    std::error_code error;
    return fs::is_directory(path, error) && access(path.c_str(), R_OK | X_OK) == 0;
}

/// Tries it, since much may be in the way; leaves nothing behind. A pipe or a device is not opened: whoever reads the
/// pipe would find its end, and an open alone may start a watchdog, or make a terminal the process's own.
bool isWritablePlace(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return (S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode)) && access(path.c_str(), W_OK) == 0;
    }
    // Something else may have taken its place since then.
    const int existing = open(path.c_str(), O_WRONLY | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (existing >= 0) {
        close(existing);
        return true;
    }
    if (errno != ENOENT) {
        return false;
    }
    const int created = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (created < 0) {
        return false;
    }
    close(created);
    unlink(path.c_str());
    return true;
}

/// Absolute, and without a separator at the end, as the world wants directories. Nothing else is changed: "link/.."
/// is the parent of what the link leads to.
std::string directoryPath(const std::string& path) {
    std::error_code error;
    std::string absolute = fs::absolute(path, error).string();
    while (absolute.size() > 1 && absolute.back() == '/') {
        absolute.pop_back();
    }
    return absolute;
}

std::string defaultConfigDirectory() {
    const std::string xdg = environment("XDG_CONFIG_HOME");
    if (!xdg.empty() && xdg.front() == '/') {  // a relative one is to be ignored
        return xdg + "/corvid";
    }
    const std::string home = environment("HOME");
    return home.empty() ? std::string() : home + "/.config/corvid";
}

/// Whether the command does its work without the module and what that reads.
bool worksAlone(const Invocation& invocation) {
    constexpr std::array<std::string_view, 5> alone = {"validate", "serve", "history", "manual", "completions"};
    return std::find(alone.begin(), alone.end(), invocation.command) != alone.end();
}

/// Whether the command works on the user's configuration.
bool usesConfigDirectory(const Invocation& invocation) {
    const bool showsSample = invocation.command == "demo" && invocation.configDirectory.empty();
    return !worksAlone(invocation) && !showsSample;
}

std::string checkConfigDirectory(Invocation& invocation) {
    if (!usesConfigDirectory(invocation)) {
        return {};
    }
    std::string path = invocation.configDirectory;
    if (path.empty()) {
        path = defaultConfigDirectory();
        if (path.empty()) {
            return "--config-dir is missing, expected a directory, since neither XDG_CONFIG_HOME nor HOME names one";
        }
    }
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() != fs::file_type::not_found && !isReadableDirectory(path)) {
        return "--config-dir '" + path + "': expected a directory that can be read, or one that does not exist yet";
    }
    invocation.host.configDirectory = directoryPath(path);
    return {};
}

std::string checkInstallDirectory(Invocation& invocation) {
    if (invocation.installDirectory.empty()) {
        invocation.host.installationDirectory = dataDirectory();
        return {};
    }
    if (!isReadableDirectory(invocation.installDirectory)) {
        return "--install-dir '" + invocation.installDirectory + "': expected a directory that can be read";
    }
    invocation.host.installationDirectory = directoryPath(invocation.installDirectory);
    return {};
}

/// Whether the command starts the module more than once, each time with the installer's file.
bool startsTwice(const Invocation& invocation) {
    const bool rehearsesFirst = invocation.command == "set" && invocation.requireEffective && !invocation.dryRun;
    const bool readsTwo = invocation.command == "diff" && comparesTwoConfigurations(invocation);
    return invocation.command == "simulate" || rehearsesFirst || readsTwo;
}

std::string checkBootstrapFile(Invocation& invocation) {
    if (invocation.bootstrapFile.empty()) {
        invocation.host.bootstrapFilePath = invocation.host.installationDirectory + "/" + BOOTSTRAP_FILE_NAME;
        return {};
    }
    if (!isReadableFile(invocation.bootstrapFile)) {
        return "--bootstrap '" + invocation.bootstrapFile + "': expected a file that can be read";
    }
    std::error_code error;
    if (startsTwice(invocation) && fs::is_fifo(invocation.bootstrapFile, error)) {  // empty for the second start
        return "--bootstrap '" + invocation.bootstrapFile + "': expected no pipe, since " + invocation.command +
               " reads the file more than once";
    }
    invocation.host.bootstrapFilePath = fs::absolute(invocation.bootstrapFile).string();
    return {};
}

/// Whether a file has a certificate that OpenSSL can read; others may stand beside it.
bool holdsCertificate(const std::string& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) {
        return false;
    }
    const std::unique_ptr<BIO, decltype(&BIO_free)> file(BIO_new_file(path.c_str(), "rb"), BIO_free);
    const std::unique_ptr<X509, decltype(&X509_free)> certificate(
        file == nullptr ? nullptr : PEM_read_bio_X509_AUX(file.get(), nullptr, nullptr, nullptr), X509_free);
    ERR_clear_error();
    return certificate != nullptr;
}

std::string checkCaFile(Invocation& invocation) {
    if (!invocation.caFile.empty() && !isReadableFile(invocation.caFile)) {
        return "--ca-file '" + invocation.caFile + "': expected a file that can be read";
    }
    if (!invocation.caFile.empty() && !holdsCertificate(invocation.caFile)) {
        return "--ca-file '" + invocation.caFile + "': expected a file with a certificate in it (PEM)";
    }
    invocation.host.caFile = invocation.caFile;
    return {};
}

std::string checkFips(Invocation& invocation) {
    if (invocation.fips == "auto") {
        invocation.host.fips = Fips::Auto;
    } else if (invocation.fips == "on") {
        invocation.host.fips = Fips::On;
    } else if (invocation.fips == "off") {
        invocation.host.fips = Fips::Off;
    } else {
        return "--fips '" + invocation.fips + "': expected auto, on or off";
    }
    return {};
}

/// Whether a file is the module's own: of the configuration that was named, whether or not the command looks at it, of
/// the user's, or of the sample.
bool belongsToModule(const TargetFile& file, const Invocation& invocation) {
    const std::string data = dataDirectory();
    host::ReferenceHostOptions installed;
    installed.installationDirectory = data;
    installed.bootstrapFilePath = data + "/" + BOOTSTRAP_FILE_NAME;
    const auto belongsTo = [&](const std::string& directory) {
        installed.configDirectory = directory;
        return !directory.empty() && file.belongsToModule(installed);
    };
    return file.belongsToModule(invocation.host) || belongsTo(invocation.configDirectory) ||
           belongsTo(defaultConfigDirectory()) || belongsTo(data + "/sample");
}

/// Whether what is written there besides would spoil a file of the module's, be that there now or not. A pipe and a
/// device hold nothing.
bool spoilsFileOfTheModule(const std::string& path, const Invocation& invocation) {
    std::error_code error;
    const fs::file_type type = fs::status(path, error).type();
    const bool holdsNothing = type == fs::file_type::fifo || type == fs::file_type::character;
    return !holdsNothing && belongsToModule(TargetFile(path), invocation);
}

std::string checkLog(Invocation& invocation) {
    const std::string& level = invocation.logLevel;
    if (level.size() != 1 || level.front() < '2' || level.front() > '5') {
        return "--log-level '" + level + "': expected a number from 2 to 5";
    }
    invocation.host.logLevel = level.front() - '0';
    if (!invocation.logFile.empty() && !isWritablePlace(invocation.logFile)) {
        return "--log-file '" + invocation.logFile + "': expected a file that can be written";
    }
    if (!invocation.logFile.empty() && spoilsFileOfTheModule(invocation.logFile, invocation)) {
        return "--log-file '" + invocation.logFile + "': this file is the module's own, expected another one";
    }
    if (!invocation.logFile.empty() && isFileOfCommand(invocation.logFile, invocation)) {
        return "--log-file '" + invocation.logFile + "': the command itself reads or writes this file, expected " +
               "another one";
    }
    invocation.host.logFile = invocation.logFile;
    return {};
}

std::string checkFormat(Invocation& invocation) {
    constexpr auto formats = std::to_array<std::pair<std::string_view, Format>>({
        {"table", Format::Table},
        {"json", Format::Json},
        {"jsonl", Format::JsonLines},
        {"tsv", Format::Tsv},
    });
    const std::string name = invocation.output.value_or(invocation.json ? "json" : "table");
    const auto* const found =
        std::find_if(formats.begin(), formats.end(), [&name](const auto& format) { return format.first == name; });
    if (found == formats.end()) {
        return "--output '" + name + "': expected table, json, jsonl or tsv";
    }
    if (invocation.json && found->second != Format::Json) {
        return "--output '" + name + "': expected json, since --json is given too";
    }
    invocation.format = found->second;
    return {};
}

/// What is wrong with a file that the module reads in a directory; empty if nothing is, or if there is no such file.
std::string checkFileIn(const char* option, const std::string& directory, const std::string& name) {
    std::error_code error;
    const std::string path = directory + "/" + name;
    const bool isThere = fs::symlink_status(path, error).type() != fs::file_type::not_found;
    if (!isThere || isReadableFile(path) || !fs::exists(path, error)) {
        return {};
    }
    return std::string(option) + " '" + directory + "': expected its " + name + " to be a file that can be read";
}

/// What is wrong with the kept copies and with what a link has set; empty if nothing is.
std::string checkCache(const std::string& directory) {
    std::error_code error;
    const std::string name = ConfigStoreConstants::CACHE_STORE_DIRECTORY_STRING;
    const std::string cache = directory + "/" + name;
    if (!fs::is_directory(cache, error)) {
        return {};
    }
    if (!isReadableDirectory(cache)) {
        return "--config-dir '" + directory + "': expected its " + name + " to be a folder that can be read";
    }
    for (fs::directory_iterator entry(cache, error); !error && entry != fs::end(entry); entry.increment(error)) {
        const std::string file = entry->path().filename().string();
        std::error_code unknown;
        if (!CacheFiles::isName(file) || entry->is_directory(unknown)) {
            continue;
        }
        if (std::string problem = checkFileIn("--config-dir", directory, name + "/" + file); !problem.empty()) {
            return problem;
        }
    }
    return {};
}

/// The module would pass over a file that it cannot read, and a command would tell, or store, half of the truth.
std::string checkFilesOfTheModule(Invocation& invocation) {
    using namespace ConfigStoreConstants;
    if (worksAlone(invocation)) {
        return {};
    }
    if (invocation.command == "reset-data") {
        return {};  // it may well be what gets rid of such a file
    }
    if (usesConfigDirectory(invocation)) {
        for (const std::string& name : {LOCAL_FILE_CONFIG_STORE_FILE_NAME, TFTP_OVERRIDE_FILE_NAME}) {
            if (std::string problem = checkFileIn("--config-dir", invocation.host.configDirectory, name);
                !problem.empty()) {
                return problem;
            }
        }
        if (std::string problem = checkCache(invocation.host.configDirectory); !problem.empty()) {
            return problem;
        }
    }
    const std::string& installation = invocation.host.installationDirectory;
    std::string problem = checkFileIn("--install-dir", installation, DEFAULT_CONFIG_STORE_FILE_NAME);
    if (problem.empty() && invocation.bootstrapFile.empty()) {
        problem = checkFileIn("--install-dir", installation, BOOTSTRAP_FILE_NAME);
    }
    return problem;
}

bool isVersion(const std::string& text) {
    return text.find_first_not_of("0123456789.") == std::string::npos && !text.empty() && text.front() != '.';
}

/// The certificate replaces what is there in one step, which takes more than a file that can be written.
bool isReplaceable(const std::string& path) {
    std::error_code error;
    const fs::path folder = fs::path(path).parent_path();
    const bool isOther = fs::exists(path, error) && !fs::is_regular_file(path, error);
    return !isOther && isWritablePlace(path) && access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) == 0;
}

/// Whether a file begins like a certificate, or holds nothing at all.
bool isCertificateOrEmpty(const std::string& path) {
    constexpr std::string_view beginning = "-----BEGIN CERTIFICATE-----";
    std::array<char, beginning.size()> start{};
    std::ifstream file(path, std::ios::binary);
    file.read(start.data(), static_cast<std::streamsize>(start.size()));
    const std::string_view read(start.data(), static_cast<std::size_t>(file.gcount()));
    return file.is_open() && (read.empty() || read == beginning);
}

std::string checkServe(const Invocation& invocation) {
    std::error_code error;
    const std::string& file = invocation.arguments.front();
    if (!isReadableFile(file)) {
        return "serve: FILE '" + file + "': expected a file that can be read";
    }
    if (!fs::is_regular_file(file, error)) {  // each request reads it anew
        return "serve: FILE '" + file + "': expected a regular file";
    }
    in_addr address{};
    if (inet_pton(AF_INET, invocation.address.c_str(), &address) != 1) {
        return "--address '" + invocation.address + "': expected an IPv4 address";
    }
    if (!isVersion(invocation.serverVersion)) {
        return "--server-version '" + invocation.serverVersion + "': expected digits and full stops, as in 12.5";
    }
    const std::optional<std::string>& ca = invocation.writeCa;
    if (ca && ca->empty()) {
        return "--write-ca is empty, expected a path";
    }
    if (ca && (!isReplaceable(*ca) || fs::equivalent(*ca, file, error))) {
        return "--write-ca '" + *ca + "': expected a file that can be written, and another one than FILE";
    }
    if (ca && fs::exists(*ca, error) && !isCertificateOrEmpty(*ca)) {
        return "--write-ca '" + *ca + "': expected a file that does not exist yet, or a certificate to replace";
    }
    return {};
}

std::string checkExport(const Invocation& invocation) {
    if (exportForm(invocation.exportFormat) == nullptr) {
        return "--format '" + invocation.exportFormat + "': expected server, json or properties";
    }
    if (!invocation.to) {
        return {};
    }
    if (invocation.to->empty()) {
        return "--to is empty, expected a path";
    }
    std::error_code error;
    if (fs::is_other(*invocation.to, error)) {
        return "--to '" + *invocation.to + "': expected a regular file, or one that does not exist yet";
    }
    const TargetFile target(*invocation.to);
    if (!target.isWritable()) {
        return "--to '" + *invocation.to + "': expected a file in a folder that can be written";
    }
    if (invocation.force) {
        return {};
    }
    if (target.belongsToModule(invocation.host)) {
        return "--to '" + *invocation.to + "': this file is the module's own, expected another one, or --force";
    }
    if (target.isThere()) {
        return "--to '" + *invocation.to + "': expected a file that is not there yet, or --force to replace it";
    }
    return {};
}

/// The journal that a watch adds to. Another file must not be spoilt, nor be renamed when it is full.
std::string checkJournalToWrite(const Invocation& invocation) {
    const std::string& path = *invocation.journal;
    if (!isReplaceable(path)) {
        return "--journal '" + path + "': expected a file that can be written";
    }
    if (spoilsFileOfTheModule(path, invocation)) {
        return "--journal '" + path + "': this file is the module's own, expected another one";
    }
    if (!JournalFile::isJournal(path)) {
        return "--journal '" + path + "': expected a journal of an earlier watch, or a file that does not exist yet";
    }
    if (const std::string old = JournalFile::oldName(path); !JournalFile::isJournal(old)) {
        return "--journal '" + path + "': expected no other file at " + old + ", where a full journal goes";
    }
    return {};
}

std::string checkJournalToRead(const std::string& path) {
    std::error_code error;
    bool isThere = false;
    for (const std::string& file : {JournalFile::oldName(path), path}) {
        if (fs::exists(file, error)) {
            isThere = true;
            if (!fs::is_regular_file(file, error) || !isReadableFile(file)) {
                return "--journal '" + file + "': expected a file that can be read";
            }
        }
    }
    return isThere ? "" : "--journal '" + path + "': expected a journal that corvidctl watch --journal has written";
}

std::string checkJournal(const Invocation& invocation) {
    const bool reads = invocation.command == "history";
    if (!invocation.journal) {
        return reads ? "history: --journal is missing, expected: corvidctl history [KEY|GLOB...] --journal FILE" : "";
    }
    if (invocation.journal->empty()) {
        return "--journal is empty, expected a path";
    }
    return reads ? checkJournalToRead(*invocation.journal) : checkJournalToWrite(invocation);
}

/// Decimal digits, and no more of them than a port needs.
std::string checkPort(Invocation& invocation) {
    const std::string& text = invocation.port;
    const bool isShort = !text.empty() && text.size() <= 5;
    const bool isNumber = isShort && text.find_first_not_of("0123456789") == std::string::npos;
    const int number = isNumber ? std::stoi(text) : -1;
    if (number < 0 || number > std::numeric_limits<std::uint16_t>::max()) {
        return "--port '" + text + "': expected a number from 0 to 65535, where 0 is a free port";
    }
    invocation.webPort = static_cast<std::uint16_t>(number);
    return {};
}

std::string checkArguments(const Invocation& invocation) {
    const std::string& command = invocation.command;
    const bool takesKey =
        command == "get" || (command == "explain" && !invocation.allStores) || command == "set" || command == "unset";
    if (takesKey && invocation.arguments.front().empty()) {
        return command + ": KEY is empty, expected the name of a key";
    }
    if (command == "provision" && !invocation.arguments.empty() && invocation.arguments.front().empty()) {
        return "provision: LINK is empty, expected a provisioning link";
    }
    if (command == "reset-data" && !invocation.yes) {
        return "reset-data: --yes is missing, expected: corvidctl reset-data --yes";
    }
    if (invocation.store && invocation.store->empty()) {
        return "--store is empty, expected the name of a store";
    }
    if (std::string problem = checkComparing(invocation); !problem.empty()) {
        return problem;
    }
    if (command == "serve") {
        return checkServe(invocation);
    }
    if (command == "export") {
        return checkExport(invocation);
    }
    if (command == "watch" || command == "inspect" || command == "history") {
        return checkJournal(invocation);
    }
    if (command == "validate") {
        for (const std::string& file : invocation.arguments) {
            if (!isReadableFile(file)) {
                return "validate: FILE '" + file + "': expected a file that can be read";
            }
        }
    }
    return {};
}

}  // namespace

std::string checkInvocation(Invocation& invocation) {
    const bool plain = !environment("NO_COLOR").empty();
    invocation.colours = !plain && understandsEscapes(STDOUT_FILENO);
    invocation.host.logClearsLines = understandsEscapes(STDERR_FILENO);
    invocation.host.colours = invocation.colours && invocation.host.logClearsLines;

    // Only what stays hinders others; commands that write wait for each other before they begin, and all that do not
    // stay are over before a power event matters.
    const bool stays = directoryUseOf(invocation) == DirectoryUse::Stays;
    invocation.host.powerEvents = stays;
    invocation.host.claimsDirectory = stays;

    for (const auto check : {checkConfigDirectory, checkInstallDirectory, checkBootstrapFile, checkCaFile, checkFips,
                             checkLog, checkFormat, checkPort, checkFilesOfTheModule}) {
        if (std::string problem = check(invocation); !problem.empty()) {
            return problem;
        }
    }
    return checkArguments(invocation);
}

}  // namespace corvidctl
