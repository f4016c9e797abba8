#pragma once

namespace host {

/// Takes what libxml2 has to say about documents, which would go raw to standard error otherwise, while it lives: on
/// the thread that makes it, and on every thread that uses the library for the first time in this while.
///
/// Made and destroyed on one thread; one at a time.
class XmlDiagnostics {
public:
    /// Where it goes.
    enum class Way {
        Log,      ///< to the log, at level 3, as "FILE:LINE: message" without anything that stands in the document; of
                  ///< one document the first 20, and a line that tells how many more there were
        Discard,  ///< for a caller that tells the problems itself
    };

    /// Takes it from here on.
    explicit XmlDiagnostics(Way way);
    ~XmlDiagnostics();

    XmlDiagnostics(const XmlDiagnostics&) = delete;
    XmlDiagnostics& operator=(const XmlDiagnostics&) = delete;
};

}  // namespace host
