#include "session/Listeners.h"

#include <filesystem>
#include <ostream>
#include <string_view>

#include "output/Text.h"

namespace corvidctl {

namespace {

constexpr const char* EVERY_ADDRESS = "0.0.0.0";
constexpr const char* THIS_MACHINE = "127.0.0.1";
constexpr std::size_t HEADING_COLUMNS = 9;

/// The name as a URL has it, so that it can be copied from the terminal.
std::string urlName(const std::string& name) {
    constexpr std::string_view UNRESERVED = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string text;
    for (const char character : name) {
        const auto byte = static_cast<unsigned char>(character);
        if (UNRESERVED.find(character) != std::string_view::npos) {
            text += character;
        } else {
            text += {'%', DIGITS[byte >> 4], DIGITS[byte & 15]};
        }
    }
    return text;
}

}  // namespace

std::string reachableAddress(const std::string& listening) {
    return listening == EVERY_ADDRESS ? THIS_MACHINE : listening;
}

void printListeners(const callcontrol::CallControlServer::Options& options, std::ostream& out) {
    const std::string address = reachableAddress(options.address);
    const std::string name = urlName(std::filesystem::path(options.file).filename().string());
    const auto print = [&](const char* what, const char* scheme, std::uint16_t port, const std::string& path) {
        out << padded(what, HEADING_COLUMNS) << scheme << "://" << address << ':' << port << '/' << path << '\n';
    };
    if (address != options.address) {
        out << "Listens on all addresses of this machine; " << address << " is the one for clients on it.\n";
    }
    print("file", "http", options.filePort, name);
    print("file", "https", options.secureFilePort, name);
    print("version", "https", options.versionPort, "hubm-uds/version");
}

}  // namespace corvidctl
