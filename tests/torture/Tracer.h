#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace torture {

/// One system call on files, as it was about to be made.
struct Call {
    std::string name;
    std::string path;    ///< the first, or that of the descriptor: whole, and without "." and ".."
    std::string target;  ///< of a rename, a link or a copy, likewise
};

/// Whether a whole path is that of the folder or of something below it.
bool isWithin(const std::string& folder, const std::string& path);

/// What is done to the calls on the watched files between markBegin() and markEnd(), which count from 0.
struct Fault {
    enum class Kind {
        None,
        Kill,        ///< the process is killed instead of the call
        Fail,        ///< the call is not made and gives the error; a close is made all the same
        ShortWrite,  ///< a write is made with half of its bytes
    };
    static constexpr std::size_t fromThenOn = std::numeric_limits<std::size_t>::max();

    Kind kind = Kind::None;
    std::size_t at = 0;
    std::size_t times = 1;  ///< how many calls in a row
    int error = 0;          ///< an errno
};

/// What became of a traced process.
struct Traced {
    bool allowed = false;              ///< false: this system does not let processes be traced; nothing was run
    int status = -1;                   ///< what the body gave, or 128 and the number of the signal that ended it
    bool wentOnForEver = false;        ///< it made more calls than any of ours needs, and was killed
    bool faultCame = false;            ///< false: there were not so many calls
    std::vector<Call> calls;           ///< between the marks; paths are only read where they are asked for
    std::vector<std::string> reaches;  ///< names of the calls between the marks that make sockets, processes or threads
};

/// Runs the body in a process of its own and stops at each of its system calls. Only the body's first thread is
/// watched. x86-64 only; elsewhere nothing is allowed.
/// @param folder only calls on it and on what is below it count: a sanitizer makes calls of its own on other files.
Traced runTraced(const std::string& folder, const std::function<int()>& body, const Fault& fault);

/// In the body: the calls between these two count.
void markBegin();
void markEnd();

}  // namespace torture
