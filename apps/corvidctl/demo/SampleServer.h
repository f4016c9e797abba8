#pragma once

#include <memory>
#include <string>

#include "callcontrol/CallControlServer.h"
#include "callcontrol/CertificateAuthority.h"

namespace corvidctl {

/// The call-control server of the demonstration: serves a copy of the sample file at a loopback address of its own,
/// with a certificate of an authority that lives as long as this does.
class SampleServer {
public:
    static constexpr const char* VERSION = "12.5";
    static constexpr const char* FILE_NAME = "corvid-config.xml";

    /// Serves when this returns. @param folder where the file and the authority's certificate are put; must exist.
    /// @throws std::runtime_error with one line if a file or a port cannot be had.
    explicit SampleServer(const std::string& folder);

    const std::string& address() const { return address_; }

    /// The authority's certificate, for whoever is to trust the server.
    const std::string& caFile() const { return caFile_; }

    /// What an administrator does: gives an entry of the file another value. Whoever fetches the file finds it.
    /// @throws std::runtime_error if the file has no such entry.
    void change(const std::string& key, const std::string& value);

private:
    const std::string file_;
    const std::string caFile_;
    const callcontrol::CertificateAuthority authority_;
    const std::string address_;
    std::unique_ptr<callcontrol::CallControlServer> server_;
};

}  // namespace corvidctl
