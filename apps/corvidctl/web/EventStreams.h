#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "impl/quill/FileDescriptor.h"
#include "web/Api.h"

namespace corvidctl {

/// An event as a stream carries it.
std::string streamText(const ServerEvent& event);

/// What waits for one page, which takes it at its own pace. Any thread.
class EventStream {
public:
    /// @param mostBytes so much may wait. One event of any size may wait alone.
    /// @throws std::system_error if the system gives no descriptor.
    explicit EventStream(std::size_t mostBytes);

    EventStream(const EventStream&) = delete;
    EventStream& operator=(const EventStream&) = delete;

    /// Readable as soon as something waits, or the stream is over. Not to be read.
    int descriptor() const { return news_.get(); }

    /// An event, shared by all streams. @param id as that of ServerEvent.
    void push(const std::shared_ptr<const std::string>& text, std::uint64_t id);

    /// True if the page has not kept up: what waited has been dropped, and nothing more will come.
    bool isOver() const;

    /// Takes what waits, in the order it came.
    /// @param known batches up to this number are left out: the page has them already.
    std::string take(std::uint64_t known);

private:
    struct Waiting {
        std::shared_ptr<const std::string> text;
        std::uint64_t id;
    };

    void announce() const;

    const std::size_t mostBytes_;
    const QuillCoreUtils::FileDescriptor news_;
    mutable std::mutex mutex_;
    std::deque<Waiting> waiting_;  ///< under the mutex
    std::size_t bytes_ = 0;        ///< of all that waits; under the mutex
    bool over_ = false;            ///< under the mutex
};

/// All streams that are open. Any thread.
class EventStreams {
public:
    /// @param most so many at once.
    /// @param mostBytes may wait in each.
    EventStreams(std::size_t most, std::size_t mostBytes) : most_(most), mostBytes_(mostBytes) {}

    /// A stream is open for as long as what is given is kept.
    /// @return null if there are as many as there may be, or the system has no descriptor left.
    std::shared_ptr<EventStream> open();

    /// True if one is open.
    bool isAnyOpen() const;

    /// To all of them. Waits for nobody.
    void send(const ServerEvent& event);

private:
    const std::size_t most_;
    const std::size_t mostBytes_;
    mutable std::mutex mutex_;
    std::vector<std::weak_ptr<EventStream>> streams_;  ///< under the mutex
};

}  // namespace corvidctl
