#include <array>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <ostream>
#include <stdexcept>

#include "Interruption.h"
#include "Json.h"
#include "Text.h"
#include "callcontrol/CallControlServer.h"
#include "commands/Commands.h"
#include "quill/FileUtils.h"

namespace corvidctl {

namespace {

using callcontrol::CallControlServer;
using callcontrol::ServedRequest;

constexpr const char* EVERY_ADDRESS = "0.0.0.0";

std::vector<std::string> namesOn(const std::string& address) {
    return {address == EVERY_ADDRESS ? "127.0.0.1" : address, "localhost"};
}

std::string timeOfDay() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm parts{};
    localtime_r(&now, &parts);
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), "%H:%M:%S", &parts);
    return text.data();
}

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

void printListeners(const CallControlServer::Options& options, Output& output) {
    const std::string name = urlName(std::filesystem::path(options.file).filename().string());
    const auto print = [&](const char* what, const char* scheme, std::uint16_t port, const std::string& path) {
        output.out << padded(what, 9) << scheme << "://" << options.address << ':' << port << '/' << path << '\n';
    };
    print("file", "http", options.filePort, name);
    print("file", "https", options.secureFilePort, name);
    print("version", "https", options.versionPort, "hubm-uds/version");
}

void printRequest(const ServedRequest& request, Output& output) {
    const Style style = request.status < 400 ? Style::Good : Style::Bad;
    const std::string what = request.method.empty() ? "(no HTTP)" : request.method + " " + request.path;
    output.out << styled(timeOfDay(), Style::Faint, output.colours) << "  " << request.client << "  " << request.port
               << "  " << escaped(what) << "  " << styled(std::to_string(request.status), style, output.colours) << "  "
               << request.bytes << (request.bytes == 1 ? " byte" : " bytes") << '\n';
}

/// After the server listens: whoever waits for the file finds the server ready.
void writeAuthority(const callcontrol::CertificateAuthority& authority, const Invocation& invocation) {
    if (invocation.writeCaGiven &&
        !QuillCoreUtils::FileUtils::writeFileAtomically(invocation.writeCa, authority.certificate())) {
        throw std::runtime_error("the certificate cannot be written: " + invocation.writeCa);
    }
}

}  // namespace

int runServe(const Invocation& invocation, Output& output) {
    Interruption interruption;
    const callcontrol::CertificateAuthority authority;
    CallControlServer::Options options;
    options.address = invocation.address;
    options.file = invocation.arguments.front();
    options.serverVersion = invocation.serverVersion;
    options.credentials = authority.issue({namesOn(options.address)});

    std::mutex printing;
    CallControlServer server(options, [&](const ServedRequest& request) {
        const std::lock_guard lock(printing);
        if (invocation.json) {
            output.out << json::request(request) << '\n';
        } else {
            printRequest(request, output);
        }
        output.out.flush();
        if (!output.out) {
            interruption.end();  // nobody reads any more
        }
    });
    {
        const std::lock_guard lock(printing);  // a first client may be quicker than the first lines
        server.start();
        writeAuthority(authority, invocation);
        if (!invocation.json) {
            printListeners(options, output);
            output.out.flush();
        }
    }
    interruption.wait();
    server.stop();
    return Status::Done;
}

}  // namespace corvidctl
