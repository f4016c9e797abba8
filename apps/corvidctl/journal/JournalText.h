#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "journal/JournalBatch.h"
#include "output/Format.h"
#include "output/MachineText.h"

/// Batches as scripts and journal files have them.
namespace corvidctl::journaltext {

/// UTC, as ISO 8601 writes it, with milliseconds: "2024-02-29T13:05:59.007Z".
std::string timeText(std::chrono::system_clock::time_point time);

/// "2024-02-29 13:05:59", UTC: for a table whose heading says so.
std::string shortTimeText(std::chrono::system_clock::time_point time);

/// The other way round; none unless the text is exactly such a one.
std::optional<std::chrono::system_clock::time_point> timeOf(const std::string& text);

/// What every line of a journal file begins with.
inline constexpr std::string_view BEGINNING = "{\"batch\":";

/// One batch as a line of a journal file, with its line feed.
std::string line(const JournalBatch& batch);

/// The other way round; none if the line is damaged. @param line without a line feed.
std::optional<JournalBatch> batchOf(std::string_view line);

/// What stands before the first line of a stream; empty but for tab-separated lines.
std::string headings(Format format);

/// A batch, for an answer that holds more.
Json object(const JournalBatch& batch);

/// A change with the number, the time and the cause of its batch.
Json object(const JournalBatch& batch, const JournalChange& change);

/// A batch of a stream: an object on a line. Tab-separated: a line for each change.
std::string batch(const JournalBatch& batch, Format format);

/// All batches as one answer. Tab-separated: a line for each change.
std::string batches(const std::vector<JournalBatch>& batches, Format format);

/// Each change of the batches as one object with the number, the time and the cause of its batch.
std::string changes(const std::vector<JournalBatch>& batches, Format format);

}  // namespace corvidctl::journaltext
