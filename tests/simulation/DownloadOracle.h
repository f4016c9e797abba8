#pragma once

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "DownloadEnvironment.h"
#include "DownloadJournalOracle.h"
#include "DownloadScripts.h"
#include "DownloadStep.h"
#include "VersionOracle.h"

namespace simulation {

/// The store of the server's file restated as plain data and one rule for each event; shares no code with the module.
class DownloadOracle {
public:
    explicit DownloadOracle(const ServerDetails& start);

    DownloadOracle(const DownloadOracle&) = delete;
    DownloadOracle& operator=(const DownloadOracle&) = delete;

    void apply(const DownloadStep& step);

    /// What can be seen now, as lines; the events since the last call first.
    std::vector<std::string> facts();

private:
    enum State { NotStarted = 0, InProgress = 1, RestartPending = 3, Finished = 4 };

    struct Value {
        std::wstring spelling;
        std::wstring text;
        bool secret = false;
    };

    struct Transfer {
        std::size_t number = 0;
        std::string address;
        std::string url;
        long timeout = 0;
        bool cancelled = false;
        std::size_t attempt = 0;
    };

    struct Observer {
        std::deque<DownloadStep> reactions;
        bool listens = false;
    };

    void log(int level, const std::string& text) { environment_.log(level, "TftpConfigStore", text); }
    void announce(const DownloadStep& step);
    void runTask();
    void force();
    void attempt();
    std::optional<Transfer> transferFrom(const std::string& address);
    void complete(const DownloadStep& step);
    void take(const DownloadDocument& document, const Transfer& transfer, bool onDispatcher);
    void replaceValues(const DownloadDocument& document);
    void tell(const std::vector<std::wstring>& keys);
    std::optional<std::wstring> read(const std::wstring& key) const;
    void ask(const std::wstring& key);
    void waitForStore();
    std::vector<std::wstring> keys() const;
    bool isSettled() const { return waiting_.empty() && running_.empty() && reports_.empty(); }

    DownloadEnvironment environment_;
    VersionOracle version_{environment_};
    DownloadJournalOracle journal_;
    State state_ = NotStarted;
    ServerDetails last_;
    std::deque<std::string> queue_;
    std::string successful_;
    std::map<std::wstring, Value> values_;  ///< by folded key
    bool ready_ = false;
    bool configured_ = false;
    std::deque<ServerDetails> waiting_;
    std::vector<Transfer> running_;
    std::size_t transfersEver_ = 0;
    std::size_t cancellations_ = 0;
    std::deque<std::vector<std::wstring>> reports_;
    std::map<int, Observer> observers_;
};

}  // namespace simulation
