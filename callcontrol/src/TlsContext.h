#pragma once

#include "OpenSsl.h"
#include "callcontrol/CertificateAuthority.h"

namespace callcontrol {

/// A server's side of TLS, 1.2 or newer. @throws std::runtime_error if the credentials cannot be used.
Owned<SSL_CTX> makeServerContext(const Credentials& credentials);

}  // namespace callcontrol
