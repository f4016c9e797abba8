#include <array>
#include <chrono>
#include <ctime>
#include <mutex>
#include <ostream>
#include <stdexcept>

#include "callcontrol/CallControlServer.h"
#include "commands/Commands.h"
#include "output/Answers.h"
#include "output/InterruptibleOutput.h"
#include "output/Text.h"
#include "quill/FileUtils.h"
#include "session/Interruption.h"
#include "session/Listeners.h"

namespace corvidctl {

namespace {

using callcontrol::CallControlServer;
using callcontrol::ServedRequest;

std::string timeOfDay() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm parts{};
    localtime_r(&now, &parts);
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), "%H:%M:%S", &parts);
    return text.data();
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
    if (invocation.writeCa &&
        !QuillCoreUtils::FileUtils::writeFileAtomically(*invocation.writeCa, authority.certificate())) {
        throw std::runtime_error("the certificate cannot be written: " + *invocation.writeCa);
    }
}

}  // namespace

int runServe(const Invocation& invocation, Output& output) {
    Interruption interruption;
    const InterruptibleOutput interruptibly(output, interruption);
    const callcontrol::CertificateAuthority authority;
    CallControlServer::Options options;
    options.address = invocation.address;
    options.file = invocation.arguments.front();
    options.serverVersion = invocation.serverVersion;
    options.credentials = authority.issue({{reachableAddress(options.address), "localhost"}});

    output.out << answers::requestHeadings(invocation.format) << std::flush;
    std::mutex printing;
    CallControlServer server(options, [&](const ServedRequest& request) {
        const std::lock_guard lock(printing);
        if (isForMachines(invocation.format)) {
            output.out << answers::request(request, invocation.format);
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
        if (!isForMachines(invocation.format)) {
            printListeners(options, output.out);
            output.out.flush();
        }
        if (!output.out) {
            interruption.end();
        }
    }
    interruption.wait();
    server.stop();
    return Status::Done;
}

}  // namespace corvidctl
