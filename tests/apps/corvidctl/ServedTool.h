#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Tool.h"
#include "callcontrol/CallControlServer.h"
#include "callcontrol/CertificateAuthority.h"

/// The tool on a profile whose installer's file names a call-control server, at a loopback address of the test's own.
/// Nothing listens there until serve() is called.
class ServedTool : public Tool {
protected:
    ServedTool();

    /// Starts the server. @param file what it serves as "corvid-config.xml".
    void serve(const std::string& version, const std::string& file);
    void serve(const std::string& version) { serve(version, SAMPLE); }

    /// Another server at the address serves nothing, or something else, under another name.
    void serveAs(const std::string& name, const std::string& version);

    void stopServing() { server_.reset(); }

    /// Changes what the server serves.
    void rewrite(const std::string& file) const { directory_.write("server/corvid-config.xml", file); }

    /// The words with an option before them that makes the tool trust the server.
    std::vector<std::string> trusting(std::vector<std::string> words) const;

    /// Names servers in the installer's file.
    void name(const std::string& servers) const { directory_.write("install/bootstrap.properties", servers); }

    /// Stops the server. @return port and path of each request that it answered, in order.
    std::vector<std::string> requestsUntilStop();

    /// The words for a process of the test's own that cannot write a byte to any file.
    std::vector<std::string> withoutDisk(const std::vector<std::string>& words) const;

    /// Seven keys, two of which are sensitive and one of which the user overrides.
    static const std::string SAMPLE;

    const std::string address_ = callcontrol::CallControlServer::freeLoopbackAddress();
    const callcontrol::CertificateAuthority authority_;

private:
    void start(const std::string& path, const std::string& version);

    std::mutex mutex_;
    std::vector<std::string> requests_;  ///< under mutex_
    std::unique_ptr<callcontrol::CallControlServer> server_;
};

/// Takes connections on a port and never says a word.
class SilentServer {
public:
    SilentServer(const std::string& address, std::uint16_t port);
    ~SilentServer();

    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;

    /// Waits until somebody has connected.
    void waitForSomebody();

    /// True if somebody has connected whom nobody has waited for.
    bool isSomebodyThere() const;

private:
    int listener_ = -1;
    std::vector<int> connections_;
};
