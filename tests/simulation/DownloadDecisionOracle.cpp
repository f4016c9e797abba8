#include "DownloadDecisionOracle.h"

#include "ModelTypes.h"

namespace simulation {

namespace {

/// The words of one position; they are irregular.
struct Position {
    std::wstring last;
    std::wstring now;
    std::string number;
    std::string numberOfOther;      ///< as the line about an address that never delivered spells it
    std::string endOfSuccessful;    ///< closes the line about an address that had delivered
    std::string endOfUnsuccessful;  ///< closes the line about one that had not
};

}  // namespace

bool detailsHaveChanged(const ServerDetails& last, const ServerDetails& now, bool tftpConfigured) {
    const bool noAddress = now.server1.empty() && now.server2.empty() && now.server3.empty();
    if (noAddress && !tftpConfigured) {
        return true;
    }
    return now.server1 != last.server1 || now.server2 != last.server2 || now.server3 != last.server3 ||
           (!now.file.empty() && now.file != last.file);
}

ModelDecision decideOn(const ServerDetails& last, const std::wstring& successful, const ServerDetails& now) {
    const std::string nothingYet =
        "Allowing download. Reason: There has not already been a successful tftp file download.";
    if (successful.empty()) {
        return {true, 4, nothingYet};
    }
    if (!now.file.empty() && now.file != last.file) {
        return {true, 4,
                "Allowing download. Reason: The server file (" + printable(now.file) +
                    ")  to download is different to last server (" + printable(last.file) +
                    ") file already downloaded."};
    }
    const Position positions[] = {
        {last.server1, now.server1, "1", "1", ") already address used.", ") used."},
        {last.server2, now.server2, "2", "1", ") address already used.", ") address used."},
        {last.server3, now.server3, "3", "3", ") address used.", ") address already used."},
    };
    for (const Position& position : positions) {
        const bool delivered = folded(position.last) == folded(successful);
        const bool same = folded(position.now) == folded(position.last);
        const std::string server = "server " + position.number;
        const std::string address = "(" + printable(position.now) + ")";
        const std::string lastAddress = " (" + printable(position.last);
        if (delivered && same) {
            return {false, 4,
                    "Disallowing download. Reason: This tftp " + server + " " + address +
                        " address has already been used for a successful download."};
        }
        const std::string beginning =
            "Allowing download. Reason: This tftp " + server + " address " + address + " is different to the last ";
        if (delivered) {
            return {true, 5, beginning + "successful tftp " + server + lastAddress + position.endOfSuccessful};
        }
        if (!same) {
            return {true, 4,
                    beginning + "tftp server " + position.numberOfOther + lastAddress + position.endOfUnsuccessful};
        }
    }
    return {true, 4, nothingYet};
}

}  // namespace simulation
