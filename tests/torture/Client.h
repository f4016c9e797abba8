#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "fakes/HandSteppedDispatcher.h"
#include "fakes/HandSteppedTaskDispatcher.h"
#include "fakes/RecordingLogSink.h"
#include "http/HttpTransport.h"
#include "impl/system/SystemServiceImpl.h"
#include "system/World.h"
#include "unified/UnifiedFactory.h"

namespace torture {

/// A folder with the directories of one client, "config" and "install".
class Scene {
public:
    explicit Scene(std::string folder);

    const std::string& folder() const { return folder_; }
    std::string config() const { return folder_ + "/config"; }
    std::string install() const { return folder_ + "/install"; }
    std::string localFile() const { return config() + "/corvidLocalConfig.xml"; }
    std::string serverFile() const { return config() + "/Cache/cachedServer.xml"; }
    std::string linkFile() const { return config() + "/Cache/cachedUrlProvisioningConfigStore.xml"; }

    /// Makes the directories what they are in another scene; one that is missing there is missing here.
    void copyFrom(const Scene& other) const;

    /// What is there: every name below "config" with its contents; digits in names of temporaries read 0.
    std::string fingerprint() const;

    /// Paths of temporary files below "config".
    std::vector<std::string> temporaries() const;

    /// Paths of the files that were set aside.
    std::vector<std::string> backups() const;

    /// Whether the bytes are those of the user's file or of one that was set aside.
    bool keeps(const std::string& bytes) const;

    /// Puts a user's file that is not well-formed beside a backup of an earlier one.
    void damage() const;
    static constexpr const char* damaged = "<Corvid><userConfig name=\"a\" value=\"damaged\"";
    static constexpr const char* damagedEarlier = "damaged earlier";

private:
    const std::string folder_;
};

/// The states that the files of a scene are in.
struct States {
    static constexpr int none = -1;  ///< there is no such file, or a whole user's file with nothing of ours in it
    static constexpr int torn = -2;  ///< no one whole state

    int user = none;
    int server = none;
    int link = none;
    bool isServerListed =
        false;  ///< in the user's file: without that the server's copy, whole as it may be, gives nothing

    bool operator==(const States&) const = default;

    /// Reads the files with the stores of the module. A user's file that is no document is torn, and is set aside.
    static States of(const Scene& scene);

    std::string text() const;
};

/// The whole module on a scene's directories, as a host starts it, on the caller's thread alone. One at a time.
class Client {
public:
    explicit Client(const Scene& scene);

    /// Stops and destroys the feature set and clears the factory.
    ~Client();

    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// What a client does to its files; each returns when everything is written that is going to be.
    void setUser(int state);
    void touchUser();
    void joinServer(int state);
    void removeServer();
    void takeLink(int state);
    void resetData();
    /// Sets, and has the user's file read anew.
    void setUserAndRefresh(int state);

    /// What the module answers; States::none if nothing.
    States answers();

    fakes::RecordingLogSink& log() { return *log_.operator->(); }

    /// Lines of level 2 and 3 since the last clear().
    std::vector<std::string> complaints();

    ConfigFeatureSet& featureSet() { return *featureSet_; }

    /// Who downloads files from here on.
    void useTransport(std::shared_ptr<platform::HttpTransport> transport);

    /// Runs everything that waits to be run.
    void settle();

private:
    int stateOf(const std::wstring& prefix);

    struct ScopedPlace {
        explicit ScopedPlace(const Scene& scene);
        ~ScopedPlace();
    };

    const ScopedPlace place_;
    fakes::ScopedRecordingLog log_{4};
    const std::shared_ptr<SystemServiceImpl> systemService_;
    const std::shared_ptr<fakes::HandSteppedDispatcher> dispatcher_;
    const std::shared_ptr<fakes::HandSteppedTaskDispatcher> tasks_;
    const std::shared_ptr<UnifiedFactory> factory_;
    std::shared_ptr<ConfigFeatureSet> featureSet_;
};

/// Whether one of a client's complaints names a file, or a folder that it stands in, other than by saying that there is
/// no such file.
bool tellsOf(const std::vector<std::string>& complaints, const std::string& path);

/// Something that a client does to its files.
enum class Deed { SetUser, JoinServer, RemoveServer, TakeLink, ResetData, Refresh };

constexpr Deed allDeeds[] = {Deed::SetUser,  Deed::JoinServer, Deed::RemoveServer,
                             Deed::TakeLink, Deed::ResetData,  Deed::Refresh};

const char* nameOf(Deed deed);

/// Has a client do it. @param state the number that the files hold afterwards.
void perform(Client& client, Deed deed, int state);

/// What a file holds; empty if it cannot be read.
std::string bytesOf(const std::string& path);

/// Has a client write all of its files, in one state.
void writeFiles(const Scene& scene, int state);

/// What a client finds: the folder with all of its files, or not even the folder.
enum class Day { Later, First };

constexpr Day allDays[] = {Day::Later, Day::First};

/// Makes a scene what a client finds on that day. @param state of the files. @return that of each.
States prepare(const Scene& scene, Day day, int state);

/// What is wrong with a client's answers to files in these states; empty if nothing is.
std::string otherAnswers(Client& client, const States& files);

/// What the files hold after it. A removal leaves a copy that is not listed: that is in no chain.
States after(const States& before, Deed deed, int state);

/// Empty if each file is the old or the new one; else what is wrong.
std::string neitherOldNorNew(const States& found, const States& before, const States& after);

/// The same where each call has done what it was to do until a kill: a copy that was listed is so as long as it is
/// there.
std::string otherThanKilled(const States& found, const States& before, const States& after);

}  // namespace torture
