#include "remote/DownloadDecision.h"

#include <array>

#include "quill/StringUtils.h"

using QuillCoreUtils::caseInsensitiveStringEquals;

namespace DownloadDecision {

namespace {

constexpr int INFO = 4;
constexpr int DEBUG = 5;

/// A sentence with an address in it.
struct Sentence {
    const wchar_t* before;
    const wchar_t* after;

    std::wstring with(const std::wstring& address) const { return before + address + after; }
};

/// What is said of one of the three positions. The wordings differ from position to position.
struct Position {
    std::wstring TftpServerDetails::*server;
    int firstRow;                    ///< of the three rows of this position
    Sentence delivered;              ///< the last address delivered a file, and is the new one
    Sentence differsFromSuccessful;  ///< the last address delivered a file, and is not the new one
    const wchar_t* afterSuccessful;  ///< behind the last address
    Sentence differs;                ///< the last address delivered nothing, and is not the new one
    const wchar_t* afterLast;        ///< behind the last address
};

constexpr std::array<Position, 3> POSITIONS = {{
    {&TftpServerDetails::server1,
     3,
     {L"Disallowing download. Reason: This tftp server 1 (",
      L") address has already been used for a successful download."},
     {L"Allowing download. Reason: This tftp server 1 address (",
      L") is different to the last successful tftp server 1 ("},
     L") already address used.",
     {L"Allowing download. Reason: This tftp server 1 address (", L") is different to the last tftp server 1 ("},
     L") used."},
    {&TftpServerDetails::server2,
     6,
     {L"Disallowing download. Reason: This tftp server 2 (",
      L") address has already been used for a successful download."},
     {L"Allowing download. Reason: This tftp server 2 address (",
      L") is different to the last successful tftp server 2 ("},
     L") address already used.",
     // Says "server 1" of the second position; readers of logs know it so.
     {L"Allowing download. Reason: This tftp server 2 address (", L") is different to the last tftp server 1 ("},
     L") address used."},
    {&TftpServerDetails::server3,
     9,
     {L"Disallowing download. Reason: This tftp server 3 (",
      L") address has already been used for a successful download."},
     {L"Allowing download. Reason: This tftp server 3 address (",
      L") is different to the last successful tftp server 3 ("},
     L") address used.",
     {L"Allowing download. Reason: This tftp server 3 address (", L") is different to the last tftp server 3 ("},
     L") address already used."},
}};

Decision allowFirst(int row) {
    return {row, true, INFO, L"Allowing download. Reason: There has not already been a successful tftp file download."};
}

Decision allowNewFile(const std::wstring& last, const std::wstring& now) {
    return {2, true, INFO,
            L"Allowing download. Reason: The server file (" + now + L")  to download is different to last server (" +
                last + L") file already downloaded."};
}

}  // namespace

bool haveChanged(const TftpServerDetails& last, const TftpServerDetails& now, bool tftpConfigured) {
    if (now.server1.empty() && now.server2.empty() && now.server3.empty() && !tftpConfigured) {
        return true;
    }
    return last.server1 != now.server1 || last.server2 != now.server2 || last.server3 != now.server3 ||
           (!now.file.empty() && now.file != last.file);
}

Decision decide(const Situation& situation, bool withDebugReasons) {
    const auto& [last, successful, now] = situation;
    if (successful.empty()) {
        return allowFirst(1);
    }
    if (!now.file.empty() && now.file != last.file) {
        return allowNewFile(last.file, now.file);
    }
    for (const Position& position : POSITIONS) {
        const std::wstring& before = last.*position.server;
        const std::wstring& after = now.*position.server;
        const bool same = caseInsensitiveStringEquals(after, before);
        const bool delivered = caseInsensitiveStringEquals(before, successful);
        if (delivered && same) {
            return {position.firstRow, false, INFO, position.delivered.with(after)};
        }
        if (delivered) {
            return {position.firstRow + 1, true, DEBUG,
                    withDebugReasons ? position.differsFromSuccessful.with(after) + before + position.afterSuccessful
                                     : std::wstring()};
        }
        if (!same) {
            return {position.firstRow + 2, true, INFO, position.differs.with(after) + before + position.afterLast};
        }
    }
    return allowFirst(12);
}

}  // namespace DownloadDecision
