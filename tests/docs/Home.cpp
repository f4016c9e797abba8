#include "Home.h"

#include <cstdlib>
#include <filesystem>

namespace docs {

Home::Home(Profile profile) {
    const std::filesystem::path share = std::filesystem::path(CORVID_SOURCE_DIRECTORY) / "share";
    std::filesystem::create_directory_symlink(share, directory_.path("share"));
    if (profile == Profile::Sample) {
        std::filesystem::create_directories(directory_.path(".config"));
        std::filesystem::copy(share / "corvid/sample", directory_.path(".config/corvid"),
                              std::filesystem::copy_options::recursive);
        std::filesystem::copy(share / "corvid/sample-server/corvid-config.xml", directory_.path());
    }
}

std::vector<std::string> Home::shellFor(std::string command) const {
    const std::string installed = "/usr/share/corvid";
    if (const std::size_t place = command.find(installed); place != std::string::npos) {
        command.replace(place, installed.size(), std::string(CORVID_SOURCE_DIRECTORY).append("/share/corvid"));
    }
    return {"/bin/sh", "-c", "cd \"$HOME\" && exec 2>&1 && " + command};
}

support::ChildOptions Home::options() const {
    const std::string path = std::string(CORVIDCTL_DIRECTORY) + ":" + getenv("PATH");
    return {.environment = {{"HOME", directory_.path()}, {"XDG_CONFIG_HOME", ""}, {"PATH", path}, {"COLUMNS", "120"}}};
}

std::string Home::outputOf(const std::string& command) const {
    return support::runProgram(shellFor(command), options()).out;
}

}  // namespace docs
