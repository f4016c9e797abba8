#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Client.h"
#include "Trial.h"
#include "callcontrol/CertificateAuthority.h"
#include "chain/CacheFiles.h"
#include "fakes/PlainNetwork.h"
#include "fakes/ScriptedHttpTransport.h"
#include "fakes/ScriptedServer.h"
#include "fakes/TemporaryDirectory.h"
#include "host/XmlDiagnostics.h"
#include "http/Request.h"
#include "http/Response.h"
#include "impl/http/CurlTransport.h"
#include "impl/quill/SiblingFile.h"
#include "impl/tessel/SpdlogSink.h"
#include "support/ForkedChild.h"
#include "support/HeldPipe.h"
#include "support/StrangersLink.h"

using torture::Client;
using torture::Scene;
using torture::States;
using torture::Trial;

namespace {

namespace fs = std::filesystem;

constexpr const char* DOCUMENT =
    "<Corvid><userConfig name=\"outside\" value=\"1\"/><group><outside>1</outside></group></Corvid>\n";

constexpr std::string_view LINK_TO_A_FOLDER = "a link to a folder";
constexpr std::string_view STRANGERS_LINK = "a stranger's link";
constexpr std::string_view STRANGERS_LINK_TO_A_FOLDER = "a stranger's link to a folder";

/// What stands in the place of a file. Each makes it at a path; false if this system does not let it be made.
struct Obstacle {
    const char* name;
    std::function<bool(const std::string& path, const fakes::TemporaryDirectory& outside)> make;

    /// The user's own link to a file: what stands at its end, outside, is read, and replaced. Empty: it is no such
    /// link.
    std::string leadsTo = {};

    /// Somebody has the other end of the pipe, and writes nothing.
    bool isHeld = false;
};

bool linkTo(const std::string& target, const std::string& path) { return symlink(target.c_str(), path.c_str()) == 0; }

bool makeSocket(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isBound = bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(descriptor);
    return isBound;
}

const std::vector<Obstacle>& obstacles() {
    using Outside = fakes::TemporaryDirectory;
    static const std::vector<Obstacle> all = {
        {"a link to a file", [](auto& path, const Outside& out) { return linkTo(out.path("file.xml"), path); },
         "file.xml"},
        {"a link to nothing", [](auto& path, const Outside& out) { return linkTo(out.path("new.xml"), path); },
         "new.xml"},
        {LINK_TO_A_FOLDER.data(), [](auto& path, const Outside& out) { return linkTo(out.path("folder"), path); }},
        {"a link to a pipe", [](auto& path, const Outside& out) { return linkTo(out.path("pipe"), path); }},
        {"a link to itself", [](auto& path, const Outside&) { return linkTo(path, path); }},
        {STRANGERS_LINK.data(),
         [](auto& path, const Outside& out) { return support::makeStrangersLink(out.path("file.xml"), path); }},
        {STRANGERS_LINK_TO_A_FOLDER.data(),
         [](auto& path, const Outside& out) { return support::makeStrangersLink(out.path("folder"), path); }},
        {"a hard link",
         [](auto& path, const Outside& out) { return link(out.path("file.xml").c_str(), path.c_str()) == 0; }},
        {"a pipe", [](auto& path, const Outside&) { return mkfifo(path.c_str(), 0600) == 0; }},
        {"a pipe that somebody holds", [](auto& path, const Outside&) { return mkfifo(path.c_str(), 0600) == 0; }, "",
         true},
        {"a socket", [](auto& path, const Outside&) { return makeSocket(path); }},
        {"an endless device",
         [](auto& path, const Outside&) { return mknod(path.c_str(), S_IFCHR | 0600, makedev(1, 5)) == 0; }},
        {"a link to an endless device", [](auto& path, const Outside&) { return linkTo("/dev/zero", path); }},
        {"a folder",
         [](auto& path, const Outside&) { return fs::create_directory(path) && fs::create_directory(path + "/in"); }},
    };
    return all;
}

/// Whoever starts the host names it. A pipe in its place is read to its end.
constexpr const char* INSTALLERS = "install/bootstrap.properties";

/// Further authorities of a host's.
constexpr const char* AUTHORITIES = "install/ca.pem";

constexpr const char* CACHE = "config/Cache";

constexpr const char* USERS = "config/corvidLocalConfig.xml";
constexpr const char* TEMPORARY_OF_USERS = "config/.corvidLocalConfig.xml.temp";

/// What has been cached of a store, what has been downloaded, and what a provisioning link has set. The temporary of
/// each has its name with ".temp" behind it.
const std::string CACHED = "config/Cache/cachedServer.xml";
const std::string DOWNLOADED = "config/Cache/cachedTFTPConfigStore.xml";
const std::string OF_THE_LINK = "config/Cache/cachedUrlProvisioningConfigStore.xml";

/// The folder of the user's files.
constexpr const char* CONFIGURATION = "config";

/// The name under which the client makes the first file that becomes the user's. It has the number of its process.
constexpr const char* FILE_IN_THE_MAKING = "config/.corvidLocalConfig.xml.PROCESS.NUMBER.new";

/// A host's log. It grows in place.
constexpr const char* LOG = "log";

/// The folder of the installer's files.
constexpr const char* INSTALLATION = "install";

/// Every file and folder that is read, written or removed, below the scene's folder.
const std::vector<std::string>& places() {
    static const std::vector<std::string> all = {
        USERS,
        TEMPORARY_OF_USERS,
        FILE_IN_THE_MAKING,
        "config/corvidLocalConfig-backup.xml",
        "config/corvidLocalConfig-backup-1.xml",
        "config/corvid-config-user.xml",
        "config/corvid-config.xml",
        CONFIGURATION,
        CACHE,
        CACHED,
        CACHED + ".temp",
        DOWNLOADED,
        DOWNLOADED + ".temp",
        "config/Cache/cachedTFTPConfigStore.download.json",
        OF_THE_LINK,
        OF_THE_LINK + ".temp",
        "install/corvid-config-defaults.xml",
        "install/corvid-config-defaults-backup.xml",
        "install/corvid-config-defaults-backup-1.xml",
        INSTALLERS,
        AUTHORITIES,
        INSTALLATION,
        LOG,
    };
    return all;
}

/// The file is one that this system writes, and so through a link that its user has made.
bool isWrittenThroughLinks(const std::string& place) {
    return place == USERS || place == CACHED || place == DOWNLOADED || place == OF_THE_LINK || place == LOG;
}

/// The name that is FILE_IN_THE_MAKING in this process.
std::string nextFileInTheMaking() {
    const fakes::TemporaryDirectory scratch;
    QuillCoreUtils::SiblingFile last(scratch.path("file"));
    last.create();
    // ".file.<process>.<number>.new"
    const std::string name = fs::directory_iterator(scratch.path())->path().stem().string();
    const int number = std::stoi(name.substr(name.rfind('.') + 1));
    return "config/.corvidLocalConfig.xml." + std::to_string(getpid()) + "." + std::to_string(number + 1) + ".new";
}

/// Whether it is one of the names, or lies in the folder of such a name.
bool isAmong(const std::vector<std::string>& names, const std::string& path) {
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return path == name || path.starts_with(name + "/"); });
}

/// What is below a folder: names, kinds, modes and contents. @param but names that are left out.
std::string description(const std::string& folder, const std::vector<std::string>& but) {
    std::vector<std::string> lines;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = fs::relative(entry.path(), folder);
        if (isAmong(but, name)) {
            continue;
        }
        struct stat status {};
        lstat(entry.path().c_str(), &status);
        lines.push_back(name + " " + std::to_string(status.st_mode) + " " + std::to_string(status.st_uid) + " " +
                        (S_ISREG(status.st_mode) ? torture::bytesOf(entry.path()) : ""));
    }
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

/// What is wrong with a document at the end of a user's own link; empty if nothing is. A file that is there keeps its
/// owner and its mode, a new one is the user's alone, and each is whole.
/// @param grows whether lines are written behind what it held.
std::string wrongAtTheEnd(const fakes::TemporaryDirectory& outside, const std::string& name, bool grows) {
    const std::string path = outside.path(name);
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return name == "file.xml" ? "it is gone" : "";
    }
    const mode_t wanted = S_IFREG | (name == "file.xml" ? 0644 : 0600);
    if (status.st_mode != wanted || status.st_uid != geteuid()) {
        return "its mode is " + std::to_string(status.st_mode) + ", its owner " + std::to_string(status.st_uid);
    }
    const std::string bytes = torture::bytesOf(path);
    if (grows) {
        const bool isKept = bytes.starts_with(name == "file.xml" ? DOCUMENT : "");
        return isKept && bytes.ends_with("a line of the log\n") ? "" : "it holds: " + bytes;
    }
    const bool isWhole = bytes == DOCUMENT || (bytes.starts_with("<?xml ") && bytes.ends_with("</Corvid>\n"));
    return isWhole ? "" : "it holds: " + bytes;
}

/// Puts a damaged file where the next start sets it aside, and the backup of an earlier one if the place is that one's
/// second name. @return what they hold.
std::vector<std::string> damageWhatIsBackedUpAt(const std::string& place, const fakes::TemporaryDirectory& directory) {
    const std::size_t end = place.find("-backup");
    if (end == std::string::npos) {
        return {};
    }
    const std::string stem = place.substr(0, end);
    directory.write(stem + ".xml", "damaged");
    if (place == stem + "-backup.xml") {
        return {"damaged"};
    }
    directory.write(stem + "-backup.xml", "damaged earlier");
    return {"damaged", "damaged earlier"};
}

/// Whether the client answers what the server's file holds.
bool hasDownloaded(Client& client) {
    std::wstring value;
    return client.featureSet().getConfig(L"OfServer", value, false) && value == L"yes";
}

/// Has the client fetch the server's file.
void fetch(Client& client) {
    const auto transport = std::make_shared<fakes::ScriptedHttpTransport>();
    client.useTransport(transport);
    client.featureSet().setInMemoryConfig(L"HomeUdsVersion", L"12");
    client.featureSet().setInMemoryConfig(L"TFTPPrimaryServer", L"one");
    client.featureSet().startTftpConfigSource();
    transport->deliver("<Corvid><group><OfServer>yes</OfServer></group></Corvid>");
    client.settle();
}

/// What a client answers of all that it has been given.
struct Answers {
    States states;
    bool hasDownloaded = false;

    bool operator==(const Answers&) const = default;
    std::string text() const { return states.text() + (hasDownloaded ? ", downloaded" : ", nothing downloaded"); }
};

/// What the next start answers of what was acknowledged: all but what no write can bring to the disk, since the
/// obstacle is in its way.
/// @param type of the obstacle. @param isReset whether a data reset has come before the last writes: it removes files
/// and links, but neither what a provisioning link has set nor a folder, a pipe, a socket or a device.
Answers keptBeside(const Obstacle& obstacle, fs::file_type type, const std::string& place, bool isReset,
                   const Answers& acknowledged) {
    const bool isFolder = type == fs::file_type::directory;
    const bool isReadAsFolder = isFolder || obstacle.name == LINK_TO_A_FOLDER;
    const bool isReadAsFile = type == fs::file_type::regular || !obstacle.leadsTo.empty();
    const bool isRemoved = isReset && (type == fs::file_type::regular || type == fs::file_type::symlink);
    Answers kept = acknowledged;
    const bool isWithoutFolder = place == CONFIGURATION && !isReadAsFolder;
    if (isWithoutFolder || (place == USERS && (isFolder || (obstacle.name == STRANGERS_LINK && !isReset))) ||
        (place == TEMPORARY_OF_USERS && isFolder)) {
        // The user's file names the copies.
        kept.states.user = kept.states.server = States::none;
        kept.states.isServerListed = false;
        kept.hasDownloaded = false;
    }
    const bool isWithoutCache = isWithoutFolder || (place == CACHE && !isReadAsFolder && !isRemoved);
    const auto isUnwritten = [&](const std::string& file, bool isReplaced) {
        return isWithoutCache || (place == file + ".temp" && isFolder) ||
               (place == file && !isReadAsFile && !isReplaced);
    };
    // The removal of the store has taken away whatever stood there, but for a folder.
    if (isUnwritten(CACHED, isReset && !isFolder)) {
        kept.states.server = States::none;
    }
    if (isUnwritten(OF_THE_LINK, false)) {
        kept.states.link = States::none;
    }
    if (isUnwritten(DOWNLOADED, false)) {
        kept.hasDownloaded = false;
    }
    return kept;
}

/// Exit statuses of a client's process.
enum ClientsEnd : int { IN_ORDER, UNANSWERED, LOST, NOT_MADE };

/// Asks a server that is vouched for by no authority of the file's.
int askOverTls(const std::string& authorities) {
    alarm(60);
    const fakes::PlainNetwork network;
    const callcontrol::Credentials credentials = callcontrol::CertificateAuthority().issue({{"127.0.0.1"}});
    const fakes::ScriptedServer server([](fakes::ScriptedConnection& connection) { connection.respond(200, "yes"); },
                                       {.certificate = credentials.certificate, .privateKey = credentials.privateKey});
    platform::CurlTransport transport(authorities);
    tessel::http::Response response;
    const auto result = transport.send(tessel::http::Request(server.url()), response);
    return result == HttpDownloader::HttpDownloadResultEnum::CertificateRejected ? IN_ORDER : UNANSWERED;
}

/// Writes more lines to a log than a pipe holds, as far as they can be written there.
int writeLog(const std::string& path) {
    alarm(60);
    if (const auto sink = tessel::SpdlogSink::toFile(path, std::chrono::milliseconds(1))) {
        constexpr int lines = 2000;  // more than 64 KiB, and fewer than a log queues
        for (int i = 0; i < lines; ++i) {
            sink->write({2, "logger", "file", 1, "function", "a line of the log"});
        }
        sink->flush();
    }
    return IN_ORDER;
}

/// Whether each of them is what a regular file of the folder holds.
bool areKept(const std::vector<std::string>& contents, const std::string& folder) {
    return std::all_of(contents.begin(), contents.end(), [&](const std::string& bytes) {
        return std::any_of(begin(fs::directory_iterator(folder)), fs::directory_iterator(), [&](const auto& entry) {
            std::error_code unseen;
            return entry.is_regular_file(unseen) && torture::bytesOf(entry.path()) == bytes;
        });
    });
}

/// Where a client that has lost something says what.
std::string nameOfReport(const Scene& scene) { return scene.folder() + "/wrong"; }

/// Everything that a client does to its files, and two more starts.
/// @param keeps whether nothing is lost; asked before the client removes all files itself.
/// @param kept what of the acknowledged a start answers, before and after a data reset.
int workOn(const Scene& scene, const std::function<bool()>& keeps,
           const std::function<Answers(bool isReset, const Answers& acknowledged)>& kept) {
    alarm(60);  // a hang ends the process, and so the test
    const host::XmlDiagnostics quiet(host::XmlDiagnostics::Way::Discard);
    bool isRight = true;
    const auto expect = [&](const char* when, Client& client, const Answers& expected) {
        if (const Answers found{client.answers(), hasDownloaded(client)}; found != expected) {
            std::ofstream(nameOfReport(scene), std::ios::app)
                << when << ": " << found.text() << ", and not " << expected.text() << "\n";
            isRight = false;
        }
    };
    {
        Client client(scene);
        fetch(client);
        client.setUser(1);
        client.joinServer(1);
        client.takeLink(1);
        expect("first", client, {{1, 1, 1, true}, true});
    }
    {
        Client client(scene);
        expect("second start", client, kept(false, {{1, 1, 1, true}, true}));
        fetch(client);
        client.setUser(2);
        client.joinServer(2);
        client.takeLink(2);
        expect("second", client, {{2, 2, 2, true}, true});
        if (!keeps()) {
            return LOST;
        }
        if (CacheFiles::areStrangers()) {
            client.featureSet().removeAllCachedConfigStores();
        }
        client.resetData();
        client.setUser(3);
        client.joinServer(3);
        expect("after the reset", client, {{3, 3, 2, true}, false});
    }
    Client client(scene);
    expect("third start", client, kept(true, {{3, 3, 2, true}, false}));
    return isRight ? IN_ORDER : UNANSWERED;
}

class Obstacles : public testing::Test {
protected:
    /// @return false if this system does not let the obstacle be made.
    bool tryAt(const std::string& place, const Obstacle& obstacle) {
        const fakes::TemporaryDirectory outside;
        outside.write("file.xml", DOCUMENT);
        for (const char* name : {"report.xml", "report.xml.temp", "cachedServer.xml.temp", "in/report.xml",
                                 "in/report.xml.temp", "in/cachedServer.xml.temp"}) {
            outside.write(std::string("folder/") + name, DOCUMENT);
        }
        mkfifo(outside.path("pipe").c_str(), 0600);
        chmod(outside.path("file.xml").c_str(), 0644);
        const fakes::TemporaryDirectory directory;
        const Scene scene(directory.path());
        if (place == CONFIGURATION || place == INSTALLATION) {
            fs::remove(directory.path(place));
        }
        if (place != CACHE && place != CONFIGURATION) {
            fs::create_directory(scene.config() + "/Cache");
        }
        const std::vector<std::string> damaged = damageWhatIsBackedUpAt(place, directory);
        std::string path = directory.path(place);
        std::optional<support::HeldPipe> held;
        const auto isMade = [&] {
            const bool made = obstacle.make(path, outside);
            if (made && obstacle.isHeld) {
                held.emplace(path);
            }
            return made;
        };
        const bool isOfTheChild = place == FILE_IN_THE_MAKING;
        if (!isOfTheChild && !isMade()) {
            return false;
        }
        std::vector<std::string> written;
        if (isWrittenThroughLinks(place) && !obstacle.leadsTo.empty()) {
            written = {obstacle.leadsTo};
        }
        if (place == CACHE && obstacle.name != STRANGERS_LINK_TO_A_FOLDER) {
            written = {"folder/cachedServer.xml", "folder/cachedServer.xml.temp", "folder/cachedTFTPConfigStore.xml",
                       "folder/cachedUrlProvisioningConfigStore.xml"};
        }
        const bool isMovedOutside = place == CONFIGURATION && obstacle.name == LINK_TO_A_FOLDER;
        if (isMovedOutside) {
            written = {"folder"};  // the user's own, a data reset included
        }
        const std::string before = description(outside.path(), written);
        const auto keeps = [&] { return areKept(damaged, fs::path(path).parent_path()); };
        const int status = support::runForked([&]() -> int {
            if (isOfTheChild) {
                path = directory.path(nextFileInTheMaking());
                if (!isMade()) {
                    return NOT_MADE;
                }
            }
            const fs::file_type type = fs::symlink_status(path).type();
            const auto kept = [&](bool isReset, const Answers& acknowledged) {
                return keptBeside(obstacle, type, place, isReset, acknowledged);
            };
            return place == AUTHORITIES ? askOverTls(path) : place == LOG ? writeLog(path) : workOn(scene, keeps, kept);
        });
        if (status == NOT_MADE) {
            return false;
        }
        const std::string what = std::string(obstacle.name) + " in the place of " + place;
        trial_.tried();
        if (status != IN_ORDER) {
            trial_.lost(what + ": " +
                            (status == LOST ? "what was set aside is gone"
                                            : "the client ended with " + std::to_string(status)) +
                            "\n" + torture::bytesOf(nameOfReport(scene)),
                        directory.path());
        }
        if (const std::string after = description(outside.path(), written); after != before) {
            trial_.lost(what + ": outside there was\n" + before + "and now there is\n" + after, outside.path());
        }
        if (isMovedOutside) {
            written = {"folder/corvidLocalConfig.xml"};
        }
        for (const std::string& name : written) {
            const std::string wrong = name.ends_with(".temp") ? "" : wrongAtTheEnd(outside, name, place == LOG);
            if (!wrong.empty()) {
                trial_.lost(what + ": of " + name + " outside: " + wrong, outside.path());
            }
        }
        return true;
    }

    Trial trial_{"obstacles", "obstacles"};
};

}  // namespace

TEST_F(Obstacles, HangNothingAndLeadNothingOutside) {
    std::vector<std::string> missing;
    const std::size_t all = places().size() * obstacles().size();
    for (const Obstacle& obstacle : obstacles()) {
        bool isMade = true;
        for (const std::string& place : places()) {
            const bool isWaitedFor = obstacle.isHeld && place == INSTALLERS;
            const bool isAlwaysTried =
                (place == CACHE || place == CONFIGURATION) && obstacle.name == STRANGERS_LINK_TO_A_FOLDER;
            const bool isTried = !isWaitedFor && (isAlwaysTried || trial_.picks(50, all));
            isMade = isMade && (!isTried || tryAt(place, obstacle));
        }
        if (!isMade) {
            missing.emplace_back(obstacle.name);
        }
    }
    for (const std::string& name : missing) {
        trial_.remark("this system does not let be made: " + name);
        std::cout << "not tried, since this system does not let it be made: " << name << "\n";
    }
}
