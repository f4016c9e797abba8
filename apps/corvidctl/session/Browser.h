#pragma once

#include <functional>
#include <string>
#include <thread>

namespace corvidctl {

class Interruption;

/// Shows a page in the user's browser, with the desktop's own program for that. It is started without a shell, in a
/// process group of its own and with nothing to print to: neither Ctrl-C nor its words reach across.
class Browser {
public:
    /// Does not wait for it. @param link handed over as an argument, which other users of the machine may see while the
    /// program runs. @param complain told in one line if it fails, on a thread of this. @param interruption ends the
    /// wait for it, not the program itself; must outlive this.
    Browser(const std::string& link, const Interruption& interruption,
            std::function<void(const std::string&)> complain);
    ~Browser();

    Browser(const Browser&) = delete;
    Browser& operator=(const Browser&) = delete;

private:
    std::thread waiter_;
};

}  // namespace corvidctl
