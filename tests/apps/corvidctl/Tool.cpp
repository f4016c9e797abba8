#include "Tool.h"

#include <filesystem>

std::string localFile(const std::map<std::string, std::string>& entries) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Corvid>\n";
    for (const auto& [key, value] : entries) {
        text += "  <userConfig name=\"" + key + "\" value=\"" + value + "\"/>\n";
    }
    return text + "</Corvid>\n";
}

nlohmann::json entryOf(const nlohmann::json& values, const std::string& key) {
    for (const nlohmann::json& value : values) {
        if (value.at("key") == key) {
            return value;
        }
    }
    return nullptr;
}

Tool::Tool() {
    directory_.write("install/corvid-config-defaults.xml",
                     localFile({{"DockedWindow", "true"}, {"LaunchOnSystemStartup", "false"}}));
    directory_.write("install/bootstrap.properties", "ServicesDomain: example.org\nTftpServer1: tftp.example.org\n");
    directory_.write("config/corvid-config-user.xml", "<c><g><Telephony_Enabled>true</Telephony_Enabled>"
                                                      "<BDIConnectionUsername>reader</BDIConnectionUsername></g></c>");
    directory_.write("config/corvidLocalConfig.xml",
                     localFile({{"DockedWindow", "false"}, {"Telephony_Enabled", "false"}, {"OnlyMine", "1"}}));
}

std::vector<std::string> Tool::command(const std::vector<std::string>& words) const {
    std::vector<std::string> all = {CORVIDCTL_PROGRAM, "--config-dir", directory_.path("config"), "--install-dir",
                                    directory_.path("install")};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

support::Ended Tool::run(const std::vector<std::string>& words, const support::ChildProcess::Options& options) const {
    return support::runProgram(command(words), options);
}

nlohmann::json Tool::asJson(const std::vector<std::string>& words, int expectedStatus) const {
    std::vector<std::string> all = {"--json"};
    all.insert(all.end(), words.begin(), words.end());
    const support::Ended ended = run(all);
    EXPECT_EQ(ended.status, expectedStatus) << ended.error;
    return nlohmann::json::parse(ended.out);
}

std::map<std::string, std::string> Tool::files() const {
    std::map<std::string, std::string> contents;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory_.path())) {
        const std::string name = std::filesystem::relative(entry.path(), directory_.path()).string();
        contents[name] = entry.is_regular_file() ? directory_.read(name) : std::string();
    }
    return contents;
}
