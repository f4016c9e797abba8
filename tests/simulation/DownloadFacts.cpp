#include "DownloadFacts.h"

#include "ModelTypes.h"

namespace simulation::facts {

namespace {

std::string yesOrNo(bool yes) { return yes ? "yes" : "no"; }

std::string spelt(const std::optional<std::wstring>& text) { return text ? "[" + printable(*text) + "]" : "none"; }

}  // namespace

std::string told(int observer, const std::vector<std::wstring>& keys, bool ready) {
    std::string line = "observer " + std::to_string(observer) + " told, ready " + yesOrNo(ready) + ", of";
    for (const std::wstring& key : keys) {
        line += " " + printable(key);
    }
    return line;
}

std::string answer(const std::wstring& key, const std::optional<std::wstring>& text) {
    return "answer for " + printable(key) + ": " + spelt(text);
}

std::string wiped(bool yes) { return "body wiped: " + yesOrNo(yes); }

std::string removed(bool yes) { return "removed: " + yesOrNo(yes); }

std::string state(int state, bool ready, bool configured, bool settled) {
    return "state " + std::to_string(state) + ", ready " + yesOrNo(ready) + ", configured " + yesOrNo(configured) +
           ", settled " + yesOrNo(settled);
}

std::string details(const std::string& details, const std::string& successful) {
    return "details " + details + ", successful [" + successful + "]";
}

std::string value(const std::wstring& key, const std::optional<std::wstring>& text) {
    return "value of " + printable(key) + ": " + spelt(text);
}

std::wstring sealed(const std::wstring& clearText) { return L"sealed " + clearText; }

std::string transfer(std::size_t number, const std::string& url, long timeout, bool cancelled) {
    return "transfer " + std::to_string(number) + " of " + url + " within " + std::to_string(timeout) + " s" +
           (cancelled ? ", cancelled" : "");
}

std::string counts(std::size_t cancellations, std::size_t tasks, std::size_t reports) {
    return "cancellations " + std::to_string(cancellations) + ", tasks " + std::to_string(tasks) + ", reports " +
           std::to_string(reports);
}

std::string version(const std::wstring& version) { return "stored version [" + printable(version) + "]"; }

}  // namespace simulation::facts
