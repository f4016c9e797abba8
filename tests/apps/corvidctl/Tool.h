#pragma once

#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

/// The built tool on directories of the test's own.
///
/// The user's profile says: "DockedWindow" (also a default), "Telephony_Enabled" (also overridden by the
/// administrator), "OnlyMine". The administrator's override says "Telephony_Enabled" and the sensitive
/// "BDIConnectionUsername", the installer "ServicesDomain" and the renamed "TftpServer1", the defaults "DockedWindow"
/// and "LaunchOnSystemStartup".
class Tool : public ::testing::Test {
protected:
    Tool();

    /// Runs the tool with --config-dir and --install-dir before the words.
    support::Ended run(const std::vector<std::string>& words, const support::ChildProcess::Options& options = {}) const;

    /// Runs it with --json too, and gives what it printed.
    nlohmann::json asJson(const std::vector<std::string>& words, int expectedStatus = 0) const;

    /// The words for a process of the test's own.
    std::vector<std::string> command(const std::vector<std::string>& words) const;

    std::string configFile(const std::string& name) const { return directory_.read("config/" + name); }
    /// The path of the user's own file.
    std::string localPath() const { return directory_.path("config/corvidLocalConfig.xml"); }

    void writeConfig(const std::string& name, const std::string& text) const {
        directory_.write("config/" + name, text);
    }

    /// Everything in the directories: path and contents.
    std::map<std::string, std::string> files() const;

    fakes::TemporaryDirectory directory_;
};

/// A local file with these entries.
std::string localFile(const std::map<std::string, std::string>& entries);

/// The value object of a key in an array of them; null if there is none.
nlohmann::json entryOf(const nlohmann::json& values, const std::string& key);
