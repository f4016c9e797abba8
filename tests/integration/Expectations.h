#pragma once

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

#include "Client.h"

/// For the messages of failed expectations.
void PrintTo(const DownloadJournal::Attempt& attempt, std::ostream* out);

namespace integration {

using Attempt = DownloadJournal::Attempt;
using AttemptEnd = DownloadJournal::AttemptEnd;
using Cycle = DownloadJournal::Cycle;
using CycleEnd = DownloadJournal::CycleEnd;
using Result = DownloadJournal::Result;

/// The store of the server's file in the chain, and its copy of the last run.
inline constexpr const wchar_t* LIVE_STORE = L"TFTPConfigStore";
inline constexpr const wchar_t* CACHED_STORE = L"cachedTFTPConfigStore.xml";

// Lines of the log.

std::string failureLine(const std::string& address);
std::string successLine(const std::string& address);
std::string fetchingLine(const std::string& url, const std::string& seconds);
inline constexpr const char* UPDATED_LINE = "Config updated with TFTP server information.........##";
inline constexpr const char* QUEUE_EMPTY_LINE =
    "Failed to download TFTP config. No TFTP server address available in server queue.";
inline constexpr const char* NO_URL_LINE = "No attempt will be made to download TFTP config.";
inline constexpr const char* INVALID_XML_LINE =
    "\n************\nError Invalid XML syntax detected - Unable to read xml configuration.\n************";

// Matchers of an attempt.

inline auto delivered(const std::string& address) {
    return testing::AllOf(testing::Field(&Attempt::address, address),
                          testing::Field(&Attempt::end, AttemptEnd::Delivered));
}

inline auto failed(const std::string& address, Result result) {
    return testing::AllOf(testing::Field(&Attempt::address, address), testing::Field(&Attempt::end, AttemptEnd::Failed),
                          testing::Field(&Attempt::result, result));
}

/// Whether a wait for the store returns at once, since a cycle has ended and everyone has been told.
bool isReleased(TftpConfigStore& store);

/// The name of where its download stands.
std::string stateOf(const TftpConfigStore& store);

// Each of these fetches once, and says what must hold afterwards.

/// The first server fails, and the next is asked; its file has the entry "origin" with the text "healthy".
void expectPassedOver(Client& client, const std::string& faulty, Result result, const std::string& healthy);

/// The only server fails: nothing is there afterwards, and nobody waits.
void expectNothingFetched(Client& client, const std::string& faulty, Result result);

/// A file arrives that is no document: that counts as a success, without values. The next server is not asked.
void expectUnreadable(Client& client, const std::string& server);

}  // namespace integration
