#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ChainOracle.h"
#include "DownloadScripts.h"
#include "LiveOracle.h"
#include "PropertyWatcher.h"
#include "ScheduleModel.h"
#include "ScheduleStep.h"
#include "ScheduledHost.h"

namespace simulation {

/// How often what makes a schedule worth its while has happened.
using ScheduleTally = std::map<std::string, std::uint64_t>;

/// The whole module under a scheduler, and beside it what the module ought to hold and to tell. One thread.
///
/// After each step:
///  - an operation has answered, and has had the chain report, what the oracle of the chain says;
///  - every report said what the stores gave for the key at that very moment;
///  - every live value and every notification is what the oracle of the live values says of the reports so far;
///  - every store holds what was set, what a server has delivered, or what the file of the copy held; but for the flags
///    and the server's version, which the module sets in memory by itself, and which are taken as they are;
///  - the chain holds the stores that it ought to, copies included, in order;
///  - the user's file is the one before the step or the one after it, and so are the copies, without a secret.
/// At quiet moments, when nothing waits or runs:
///  - every live value is what the chain answers, but where the chain keeps silent by its rules, and nothing that was
///    reported silently is left to be told;
///  - the user's file holds what was stored, unless a write has failed and none has come since;
///  - nothing is left of the downloads.
/// When a host has ended, on a disk in order:
///  - the user's file holds what was stored before the stores ended, whatever has failed before.
class ScheduledWorld {
public:
    explicit ScheduledWorld(ScheduleTally& tally);
    ~ScheduledWorld();

    ScheduledWorld(const ScheduledWorld&) = delete;
    ScheduledWorld& operator=(const ScheduledWorld&) = delete;

    /// @return what is wrong after it; none if all is well.
    std::optional<std::string> apply(const ScheduleStep& step);

    /// Lets everything that waits or runs come to its end, kills the process and looks at what the next one finds.
    std::optional<std::string> finish();

private:
    class Recorder;
    class DownloadListener;

    // What the scheduler does. Those that return nothing take the model along.

    void perform(const ScheduleStep& step);
    void performByClient(const ScheduleStep& step);
    void performByHost(const ScheduleStep& step);
    void performByThread(const ScheduleStep& step);
    void write(const ScheduleStep& step);
    void watch(const ScheduleStep& step);
    void takeLink(const std::wstring& link);
    void expectAnotherTry();
    void noteWhetherTheLinkIsWritten();
    void allowLinks();
    void addStore(const ModelStore& description);
    void removeStore(const std::string& name);
    bool noteRemoval(const std::string& name);
    void removeCopies();
    void start();
    void destroy();
    void powerDown();
    void switchSourceOn();
    void readProfile();
    void changeProfile(const ScheduleStep& step);
    void startAnew(bool shutDown);
    void runPool(std::size_t index);
    void endTransfer(const ScheduleStep& step);
    void takeMeanwhile();

    // What is heard.

    void onInjected();
    void onCall(const ChainCall& call);
    void hearDownloadsOf(const std::shared_ptr<TftpConfigStore>& store);
    void onDownload(const std::shared_ptr<TftpConfigStore>& store, bool isFirst);
    void onHeard(int watcher, Property property, const ConfigValue& value);

    // The downloads of the server's file.

    void noteErrands(const std::weak_ptr<TftpConfigStore>& before);
    void noteTransfersOf(const std::shared_ptr<TftpConfigStore>& store);
    void noteWhetherAddressesRanOut(const TftpConfigStore& store);
    void serve(TftpConfigStore& store, const DownloadDocument& document);

    // The mirror of the chain.

    std::vector<ChainOracle::StorePtr> mirror();
    ChainOracle::StorePtr serversStore(ConfigStore& store) const;
    ModelStore picture(ConfigStore& store) const;
    void takeOverWhatTheModuleWrites();
    void applyPolicies();
    void noteSilentWrite(const std::wstring& key);
    void noteSilence(const std::wstring& key);
    void noteSilentChanges();
    void keepCopy(const std::string& name, const ModelStore& store);
    std::wstring listOfCopies();
    void listCopy(const std::string& storeName, int priority);
    void unlistCopy(const std::string& storeName);

    // Checks.

    void complain(const std::string& text);
    void checkReport(const Report& report);
    void checkAfter(const ScheduleStep& step, const FileEntries& userBefore);
    void checkHeard();
    void checkLiveValuesAgainstReports();
    void checkStores();
    void checkChain();
    void checkUserFile(const FileEntries& userBefore);
    void checkUserFileAtTheEnd();
    void checkCopies();
    void checkQuiet();
    void checkLiveValues();
    bool isQuiet();
    void settle();

    ScheduleTally& tally_;
    std::optional<std::string> complaint_;
    ScheduledHost host_;
    ScheduleModel model_;
    std::unique_ptr<LiveOracle> live_;
    std::unique_ptr<ReportModel> reports_;
    std::vector<ChainCall> expectedCalls_;
    std::vector<ChainCall> calls_;
    ChainOracle oracle_;
    ChainOracle judge_;
    std::unique_ptr<Recorder> recorder_;
    std::vector<std::shared_ptr<PropertyWatcher>> listeners_;
    std::vector<std::unique_ptr<DownloadListener>> downloadListeners_;
    std::vector<Heard> heard_;
    std::vector<ScheduleStep> meanwhile_;
    std::size_t versionAnswer_ = 1;
    std::size_t heardSoFar_ = 0;
    bool mayHaveWritten_ = false;                 ///< the user's file, during the step under way
    bool mayHaveCopied_ = false;                  ///< the files of the folder of the copies
    std::map<std::string, FileEntries> perhaps_;  ///< copies that a disk at fault may or may not have taken
    bool joined_ = false;              ///< the server's store came through the feature set, which applies the policies
    bool downloaded_ = false;          ///< the server's store told of a file during the step under way
    bool disturbed_ = false;           ///< the disk was at fault during the step under way
    std::set<std::wstring> silenced_;  ///< keys of which the chain has not told the newest, folded
    std::map<std::string, ModelEntries> remembered_;       ///< what the stores held that change in silence
    std::map<const ConfigStore*, ModelEntries> served_;    ///< what the stores of the server's file ought to hold
    std::vector<std::weak_ptr<TftpConfigStore>> errands_;  ///< whose the tasks are that wait for the pool
    std::map<std::uint64_t, std::weak_ptr<TftpConfigStore>> transfers_;  ///< whose they are, by their numbers
};

}  // namespace simulation
