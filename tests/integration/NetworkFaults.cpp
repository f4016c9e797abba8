#include "NetworkFaults.h"

#include <openssl/tls1.h>

#include <chrono>
#include <initializer_list>
#include <utility>

#include "Servers.h"
#include "fakes/FullBacklog.h"

using callcontrol::CertificateAuthority;
using callcontrol::Credentials;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;

namespace integration {

namespace {

using Arrangement = std::function<std::shared_ptr<void>(const FaultPlace&)>;
using Doing = std::function<void(ScriptedConnection&)>;

/// What must reach nobody.
std::string faultyFile() { return document({{"origin", "faulty"}}); }

/// As gzip packs <config><group><origin>faulty</origin></group><version>10.5</version></config>.
std::string compressed() {
    static constexpr unsigned char PACKED[] = {
        0x1f, 0x8b, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x03, 0xb3, 0x49, 0xce, 0xcf, 0x4b, 0xcb,
        0x4c, 0xb7, 0xb3, 0x49, 0x2f, 0xca, 0x2f, 0x2d, 0xb0, 0xb3, 0xc9, 0x2f, 0xca, 0x4c, 0xcf, 0xcc,
        0xb3, 0x4b, 0x4b, 0x2c, 0xcd, 0x29, 0xa9, 0xb4, 0xd1, 0x87, 0x72, 0x6d, 0xf4, 0xa1, 0xd2, 0x65,
        0xa9, 0x45, 0xc5, 0x99, 0xf9, 0x79, 0x76, 0x86, 0x06, 0x7a, 0xa6, 0x36, 0xfa, 0x30, 0x9e, 0x8d,
        0x3e, 0xd4, 0x14, 0x00, 0xe2, 0x4d, 0x78, 0x33, 0x4e, 0x00, 0x00, 0x00};
    return {reinterpret_cast<const char*>(PACKED), sizeof PACKED};
}

std::string headOf(const std::string& fields) { return "HTTP/1.1 200 OK\r\n" + fields + "\r\n"; }

std::string lengthOf(std::size_t bytes) { return "Content-Length: " + std::to_string(bytes) + "\r\n"; }

const std::string CHUNKED_FIELD = "Transfer-Encoding: chunked\r\n";

void leaveWaiting(ScriptedConnection& connection) { connection.waitUntilClientLeaves(); }

Arrangement answersBy(const Doing& script) {
    return [script](const FaultPlace& place) { return std::make_shared<ScriptedServer>(script, place.options()); };
}

/// These bytes, and then the end of the connection.
Arrangement sends(const std::string& bytes) {
    return answersBy([bytes](ScriptedConnection& connection) { connection.send(bytes); });
}

/// Sends this, and cuts the connection off.
Arrangement resetsAfter(const std::string& bytes) {
    return answersBy([bytes](ScriptedConnection& connection) {
        connection.send(bytes);
        connection.reset();
    });
}

/// With this body, whatever it says.
Arrangement answersWith(int status, const std::string& body, const std::string& fields = "") {
    return answersBy([=](ScriptedConnection& connection) { connection.respond(status, body, fields); });
}

Arrangement redirectsTo(const std::function<std::string(const FaultPlace&)>& location) {
    return [location](const FaultPlace& place) {
        return std::make_shared<ScriptedServer>(
            [target = location(place)](ScriptedConnection& connection) { connection.redirect(target); },
            place.options());
    };
}

/// Goes wrong before a request is read, and where TLS should begin.
Arrangement meetsClientsBy(const Doing& doing) {
    return [doing](const FaultPlace& place) {
        const ScriptedServer::Options options{.address = place.address, .port = place.port, .onConnect = doing};
        return std::make_shared<ScriptedServer>([](ScriptedConnection&) {}, options);
    };
}

/// A server with this body and with this certificate.
Arrangement shows(const std::string& body, const std::function<Credentials(const FaultPlace&)>& credentials) {
    return [body, credentials](const FaultPlace& place) {
        ScriptedServer::Options options = place.options();
        const Credentials shown = credentials(place);
        options.certificate = shown.certificate;
        options.privateKey = shown.privateKey;
        return std::make_shared<ScriptedServer>(
            [body](ScriptedConnection& connection) { connection.respond(200, body); }, options);
    };
}

/// The name is looked up in vain.
Arrangement hasName(void (fakes::ScriptedNames::*of)(const std::string&)) {
    return [of](const FaultPlace& place) -> std::shared_ptr<void> {
        (place.names.*of)(place.host);
        return nullptr;
    };
}

std::shared_ptr<void> admitsNobody(const FaultPlace& place) {
    return std::make_shared<fakes::FullBacklog>(place.address, place.port);
}

void sendWithoutEnd(ScriptedConnection& connection, const std::string& begin, const std::string& piece) {
    connection.send(begin);
    while (connection.send(piece)) {
    }
}

void drip(ScriptedConnection& connection, const std::string& begin, const std::string& piece) {
    connection.send(begin);
    while (connection.send(piece) && connection.pause(std::chrono::milliseconds(20))) {
    }
}

/// Sends more than buffers hold, so that the client has begun to read, and cuts the connection off: the reset overtakes
/// what is still on its way.
void resetInTheBody(ScriptedConnection& connection) {
    constexpr std::size_t mebibyte = std::size_t{1024} * 1024;
    connection.send(headOf(lengthOf(16 * mebibyte)));
    connection.send(std::string(15 * mebibyte, '.'));
    connection.reset();
}

void add(std::vector<NetworkFault>& to, std::initializer_list<NetworkFault> faults) {
    to.insert(to.end(), faults.begin(), faults.end());
}

void addNamesAndConnections(std::vector<NetworkFault>& faults) {
    using Names = fakes::ScriptedNames;
    add(faults, {
                    {"the name does not exist", hasName(&Names::refuse)},
                    {"the name servers fail", hasName(&Names::fail)},
                    {"the name servers never answer", hasName(&Names::keepSilent), true},
                    {"connection refused", {}},
                    {"connection neither admitted nor refused", admitsNobody, true},
                    {"closed as soon as connected", meetsClientsBy([](auto& connection) { connection.close(); })},
                });
}

void addHeads(std::vector<NetworkFault>& faults) {
    add(faults,
        {
            {"reset as soon as connected", meetsClientsBy([](auto& connection) { connection.reset(); })},
            {"closed instead of an answer", sends("")},
            {"reset instead of an answer", resetsAfter("")},
            {"no answer at all", answersBy(leaveWaiting), true},
            {"closed in the first line", sends("HTTP/1.1 2")},
            {"closed in the head", sends("HTTP/1.1 200 OK\r\nContent-Type: application/x")},
            {"reset in the head", resetsAfter("HTTP/1.1 200 OK\r\nContent-Type: application/x")},
            {"another protocol answers", sends("SSH-2.0-server\r\n")},
            {"the file without a head", sends(faultyFile())},
            {"a head without end", answersBy([](auto& connection) {
                 sendWithoutEnd(connection, "HTTP/1.1 200 OK\r\n", "X-Filler: " + std::string(8000, 'x') + "\r\n");
             })},
            {"a head that drips", answersBy([](auto& connection) { drip(connection, "HTTP/1.1 200 OK\r\nX: ", "x"); }),
             true},
            {"a length that is no number", sends(headOf("Content-Length: many\r\n") + faultyFile())},
            {"two lengths", sends(headOf(lengthOf(1) + lengthOf(2)) + faultyFile())},
            {"interim answers alone", sends("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\n\r\n")},
        });
}

void addStatuses(std::vector<NetworkFault>& faults) {
    for (const int status : {206, 300, 304, 400, 401, 403, 404, 410, 429, 500, 503, 999}) {
        add(faults, {{"status " + std::to_string(status), answersWith(status, faultyFile())}});
    }
    add(faults,
        {
            {"a redirect to itself", redirectsTo([](const auto&) { return "/corvid-config.xml"; })},
            {"a redirect to another server",
             redirectsTo([](const auto&) { return "http://elsewhere.example:6970/corvid-config.xml"; })},
            {"a redirect to another port",
             redirectsTo([](const auto& place) { return "http://" + place.host + ":6971/corvid-config.xml"; })},
            {"a redirect from HTTP to HTTPS",
             redirectsTo([](const auto& place) { return "https://" + place.host + ":6972/corvid-config.xml"; })},
            {"a redirect to a file of the client's", redirectsTo([](const auto&) { return "file:///etc/hosts"; })},
        });
}

void addBodies(std::vector<NetworkFault>& faults) {
    const std::string file = faultyFile();
    const std::string half = file.substr(0, file.size() / 2);
    add(faults,
        {
            {"status 204", sends("HTTP/1.1 204 No Content\r\n\r\n")},
            {"an empty body", sends(headOf(lengthOf(0)))},
            {"an empty body in chunks", sends(headOf(CHUNKED_FIELD) + "0\r\n\r\n")},
            {"a body shorter than its length", sends(headOf(lengthOf(file.size() + 1)) + file)},
            {"a body longer than its length", sends(headOf(lengthOf(file.size() - 1)) + file)},
            {"a body without a length, cut", sends(headOf("") + half)},
            {"a body without a length, of which nothing comes", sends(headOf(""))},
            {"the last chunk is missing", sends(headOf(CHUNKED_FIELD) + "8\r\n<config>\r\n")},
            {"a chunk whose size is no number", sends(headOf(CHUNKED_FIELD) + "8\r\n<config>\r\nzz\r\n</config>\r\n")},
            {"reset in the body", answersBy(resetInTheBody)},
            {"a body that drips", answersBy([](auto& connection) { drip(connection, headOf(lengthOf(9000)), "<"); }),
             true},
            {"a length beyond 16 MiB", answersBy([](auto& connection) {
                 connection.send(headOf(lengthOf(16777217)));
                 connection.waitUntilClientLeaves();
             })},
            {"a body without end", answersBy([](auto& connection) {
                 sendWithoutEnd(connection, headOf(""), std::string(std::size_t{64} * 1024, '.'));
             })},
            {"chunks without end", answersBy([](auto& connection) {
                 sendWithoutEnd(connection, headOf(CHUNKED_FIELD), "10000\r\n" + std::string(65536, '.') + "\r\n");
             })},
            {"compressed, which nobody asked for", answersWith(200, compressed(), "Content-Encoding: gzip\r\n")},
            {"compressed for the way, which nobody asked for",
             sends(headOf("Transfer-Encoding: gzip, chunked\r\n") + "4c\r\n" + compressed() + "\r\n0\r\n\r\n")},
            {"compressed, of which no field tells", answersWith(200, compressed())},
            {"said to be compressed, and not", answersWith(200, file, "Content-Encoding: gzip\r\n")},
        });
}

/// An answer over TLS of which the end is not told.
Arrangement breaksOffAfter(const std::string& bytes) {
    return answersBy([bytes](ScriptedConnection& connection) {
        connection.send(bytes);
        connection.breakOff();
    });
}

void addHandshakes(std::vector<NetworkFault>& faults, const std::string& body) {
    const auto issued = [&body](int from, int to) {
        return shows(body, [=](const FaultPlace& place) { return place.trusted.issue({{place.host}, from, to}); });
    };
    add(faults,
        {
            {"no word of the handshake", meetsClientsBy([](auto& connection) {
                 connection.waitUntilClientLeaves();
                 connection.close();
             }),
             true},
            {"reset at the first word of the handshake", meetsClientsBy([](auto& connection) {
                 connection.waitUntilClientSpeaks();
                 connection.reset();
             })},
            {"HTTP on the port of HTTPS", meetsClientsBy([](auto& connection) {
                 connection.send("HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\n\r\n");
                 connection.close();
             })},
            {"handshake cut after its first bytes", meetsClientsBy([](auto& connection) {
                 connection.send(std::string("\x16\x03\x03\x00\x7a\x02\x00", 7));
                 connection.close();
             })},
            {"TLS 1.1",
             [](const FaultPlace& place) -> std::shared_ptr<void> {
                 ScriptedServer::Options options = place.options();
                 options.newestTls = TLS1_1_VERSION;
                 return std::make_shared<ScriptedServer>([](ScriptedConnection&) {}, options);
             }},
            {"a certificate that has expired", issued(-10, -1)},
            {"a certificate that is not valid yet", issued(1, 10)},
            {"a certificate for another name",
             shows(body, [](const FaultPlace& place) { return place.trusted.issue({{"elsewhere.example"}}); })},
            {"a certificate of an authority that nobody trusts",
             shows(body, [](const FaultPlace& place) { return CertificateAuthority().issue({{place.host}}); })},
            {"a certificate that nobody has signed",
             shows(body, [](const FaultPlace& place) { return CertificateAuthority::selfSigned({{place.host}}); })},
        });
}

std::vector<NetworkFault> faultsOverTls(const std::string& body) {
    std::vector<NetworkFault> faults = {
        {"connection refused", {}},
        {"closed as soon as connected", meetsClientsBy([](auto& connection) { connection.close(); })},
    };
    addHandshakes(faults, body);
    add(faults,
        {
            {"TLS ends properly instead of an answer", sends("")},
            {"TLS cut instead of an answer", breaksOffAfter("")},
            {"no answer at all", answersBy(leaveWaiting), true},
            {"TLS cut in the head", breaksOffAfter("HTTP/1.1 200 OK\r\nContent-Ty")},
            {"TLS cut in a body with a length", breaksOffAfter(headOf(lengthOf(body.size() + 1)) + body)},
            {"TLS cut at the end of a body without a length", breaksOffAfter(headOf("") + body)},
            {"TLS ends properly in a body with a length", sends(headOf(lengthOf(body.size() + 1)) + body)},
            {"status 204", sends("HTTP/1.1 204 No Content\r\n\r\n")},
            {"an empty body", sends(headOf(lengthOf(0)))},
            {"a body longer than its length", sends(headOf(lengthOf(body.size() - 1)) + body)},
            {"compressed, which nobody asked for", answersWith(200, compressed(), "Content-Encoding: gzip\r\n")},
            {"compressed, of which no field tells", answersWith(200, compressed())},
            {"said to be compressed, and not", answersWith(200, body, "Content-Encoding: gzip\r\n")},
            {"a redirect from HTTPS to HTTP",
             redirectsTo([](const auto& place) { return "http://" + place.host + ":6970/corvid-config.xml"; })},
        });
    return faults;
}

}  // namespace

ScriptedServer::Options FaultPlace::options() const {
    ScriptedServer::Options options{.address = address, .port = port};
    if (port != 6970) {
        const Credentials credentials = trusted.issue({{host}});
        options.certificate = credentials.certificate;
        options.privateKey = credentials.privateKey;
    }
    return options;
}

std::vector<NetworkFault> faultsOverHttp() {
    std::vector<NetworkFault> faults;
    addNamesAndConnections(faults);
    addHeads(faults);
    addStatuses(faults);
    addBodies(faults);
    return faults;
}

std::vector<NetworkFault> faultsOverHttps() {
    std::vector<NetworkFault> faults = faultsOverTls(faultyFile());
    for (const int status : {404, 500}) {
        add(faults, {{"status " + std::to_string(status), answersWith(status, faultyFile())}});
    }
    return faults;
}

std::vector<NetworkFault> faultsOfFiles() {
    const std::string file = faultyFile();
    return {
        {"no XML", answersWith(200, "origin: faulty")},
        {"elements that are not closed", answersWith(200, file.substr(0, file.size() / 2))},
    };
}

std::vector<NetworkFault> faultsOfVersions() {
    const std::string answer = "<versionInformation><version>10.5</version></versionInformation>";
    std::vector<NetworkFault> faults;
    addNamesAndConnections(faults);
    for (NetworkFault& fault : faultsOverTls(answer)) {
        // The first two are among those of names and connections.
        if (fault.name != "connection refused" && fault.name != "closed as soon as connected") {
            faults.push_back(std::move(fault));
        }
    }
    add(faults, {
                    {"reset instead of an answer", resetsAfter("")},
                    {"reset in the head", resetsAfter("HTTP/1.1 200 OK\r\nContent-Type: application/x")},
                    {"reset in the body", answersBy(resetInTheBody)},
                    {"the last chunk is missing", sends(headOf(CHUNKED_FIELD) + "8\r\n<version\r\n")},
                    {"a body that drips",
                     answersBy([](auto& connection) { drip(connection, headOf(lengthOf(9000)), "<"); }), true},
                    {"a body without end", answersBy([](auto& connection) {
                         sendWithoutEnd(connection, headOf(""), std::string(std::size_t{64} * 1024, '.'));
                     })},
                    {"a redirect to another server",
                     redirectsTo([](const auto&) { return "https://elsewhere.example:8443/hubm-uds/version"; })},
                    {"no XML", answersWith(200, "version 10.5")},
                    {"no version", answersWith(200, "<versionInformation></versionInformation>")},
                    {"a page about an error", answersWith(503, "<html><h1>503 Service Unavailable</h1></html>")},
                });
    return faults;
}

}  // namespace integration
