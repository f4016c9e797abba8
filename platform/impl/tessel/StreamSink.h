#pragma once

#include <spdlog/sinks/base_sink.h>

#include <chrono>
#include <string>
#include <string_view>

#include "impl/quill/FileDescriptor.h"

namespace tessel {

/// Writes lines to the end of a file, or to a pipe, a terminal or another device, where it waits for nobody for ever:
/// who takes nothing for as long as the patience lasts loses that line, and each further one that does not fit at once,
/// until something is taken again. One thread.
class StreamSink : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
public:
    /// @param name of what is written to, for messages. @param descriptor opened with O_NONBLOCK, and with O_APPEND if
    ///        it is a file; closed at the end.
    StreamSink(std::string name, int descriptor, std::chrono::milliseconds patience);

protected:
    /// @throws spdlog::spdlog_ex if the line is lost.
    void sink_it_(const spdlog::details::log_msg& message) override;
    void flush_() override {}

private:
    void write(std::string_view text);
    bool waitForRoom();

    const std::string name_;
    const QuillCoreUtils::FileDescriptor descriptor_;
    const int patience_;        ///< in milliseconds
    bool isTaken_ = true;       ///< whether somebody has taken something since the patience was lost
    bool isInMidLine_ = false;  ///< whether the last line was lost after a part of it had been written
};

}  // namespace tessel
