#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "tessel/LogSink.h"

namespace tessel {

/// Writes records to standard error or to a file, from a thread of its own: one line each, with the time, the level as
/// a word (2 error, 3 warning, 4 info, 5 debug), the thread, the name of the logger, the function and the text.
///
/// A writer never waits. At most queueCapacity records are on their way; those given while the queue is full are
/// dropped, and the next line that gets through tells how many there were. What is on its way when the object ends is
/// still written. Whenever nothing is on its way, the file holds all there was, unless it could not be written to: then
/// a line on standard error says so.
///
/// Control characters other than line feed (C0, DEL, C1) are written as \x and two hexadecimal digits, so that no text
/// can speak to a terminal; ill-formed UTF-8 becomes U+FFFD.
class SpdlogSink : public LogSink {
public:
    static constexpr std::size_t queueCapacity = 4096;

    /// How long who reads a log may take nothing.
    static constexpr std::chrono::seconds usualPatience{5};

    /// @param colours marks the level with terminal colours. @param clearing each line also takes away the rest of what
    ///        stands where it is written: a progress line of the host's, on a terminal that understands escape
    ///        sequences. Never null.
    static std::shared_ptr<SpdlogSink> toStandardError(bool colours, bool clearing = false);

    /// Appends to a file, which is made with mode 0600 if it is not there; its folder must be.
    /// A link that a stranger has made, and a file that has another name as well, are not written to. In its place a
    /// pipe that somebody reads, a terminal or another device for characters will do, and nothing else. One that takes
    /// nothing for as long as the patience lasts is not waited for until it takes something again, so that no flush and
    /// no end hangs; what does not fit meanwhile counts as dropped.
    /// @return null if it cannot be opened.
    static std::shared_ptr<SpdlogSink> toFile(const std::string& path,
                                              std::chrono::milliseconds patience = usualPatience);

    /// Writes what is on its way and ends the thread. Must not run on a thread that holds a lock which others need.
    ~SpdlogSink() override;

    void write(const LogRecord& record) override;

    /// Returns when everything that was written before the call has reached the file or the stream, or has been lost on
    /// the way. Waits for the sink's own thread, so hold no lock that others need.
    void flush() override;

private:
    class Engine;

    explicit SpdlogSink(std::unique_ptr<Engine> engine);

    const std::unique_ptr<Engine> engine_;
};

}  // namespace tessel
