#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "quill/FirstException.h"
#include "tessel/Mutex.h"
#include "unified/ServicesDispatcher.h"

/// The gate between the threads that change the chain and the dispatcher thread, on which the service is told.
///
/// On the dispatcher thread a report is delivered before pass() returns; from any other thread a task brings it there
/// later. Both ways share one first-in-first-out box, so reports are delivered in the order in which they were passed:
/// a report that waits for its task cannot land after a newer one that was made on the dispatcher thread itself.
/// Any thread, under any lock of the chain.
class ReportGate : public std::enable_shared_from_this<ReportGate> {
public:
    /// Tells the service one thing. Runs on the dispatcher thread, once, with no lock of the gate held.
    using Delivery = std::function<void()>;

    /// @param dispatcher null: nothing is ever delivered.
    explicit ReportGate(std::shared_ptr<ServicesDispatcher> dispatcher);

    ReportGate(const ReportGate&) = delete;
    ReportGate& operator=(const ReportGate&) = delete;

    /// Delivers in order: on the dispatcher thread at once, after all that waits; elsewhere through a task, which
    /// delivers whatever report is then the oldest, or finds none. The task is harmless once the gate is gone.
    /// On the dispatcher thread a delivery that throws does not keep the later ones back; see toTheEnd().
    /// @param deliver makes the delivery, if that can be done at once.
    /// @param gather otherwise: returns a Delivery, with what it will need.
    template <typename Deliver, typename Gather>
    void pass(const Deliver& deliver, const Gather& gather, std::string_view taskName) {
        if (nothingIsAhead()) {
            const Depth depth(depth_);
            this->deliver(deliver);
        } else {
            passThroughBox(gather(), taskName);
        }
    }

    /// True on the dispatcher thread while the box is empty: a report would be put in and taken out in one step.
    bool nothingIsAhead();

    /// For what every later report builds on, as the mark of a key does: on the dispatcher thread it is delivered at
    /// once, ahead of all that waits; elsewhere in its turn, so that no later report of the same thread is told before
    /// it.
    void passFirst(Delivery delivery, std::string_view taskName);

    /// Runs an operation of several steps: a client that throws when it is told of one of them keeps back neither the
    /// others nor what the others tell. The first exception leaves when all is done, each further one is a level 2
    /// line. An operation inside another one is a part of it, but one that a client starts when it is told of something
    /// is not. Elsewhere than on the dispatcher thread, where nobody is told before it returns, this just runs the
    /// steps.
    template <typename Steps>
    void toTheEnd(const Steps& steps) {
        if (!isOnDispatcherThread() || thrown_ != nullptr) {
            steps();
            return;
        }
        QuillCoreUtils::FirstException thrown("ReportGate");
        {
            const KeptAt here(thrown_, &thrown);
            thrown.keepOf(steps, "The operation itself threw as well");
        }
        thrown.rethrow();
    }

    /// True on the dispatcher thread inside a delivery that pass() makes before it returns, which means: inside a
    /// notification that runs under the locks of the chain.
    bool isInsideNotification() const;

private:
    /// Counts a scope, also when an observer leaves it by an exception. Only the dispatcher thread changes the count,
    /// so that no step of it can be lost between reading and writing.
    class Depth {
    public:
        explicit Depth(std::atomic<int>& depth) : depth_(depth) { add(1); }
        ~Depth() { add(-1); }
        Depth(const Depth&) = delete;
        Depth& operator=(const Depth&) = delete;

    private:
        void add(int step) { depth_.store(depth_.load(std::memory_order_relaxed) + step, std::memory_order_relaxed); }

        std::atomic<int>& depth_;
    };

    /// Says for a scope where exceptions of clients are kept; null: they go on to the caller.
    class KeptAt {
    public:
        KeptAt(QuillCoreUtils::FirstException*& place, QuillCoreUtils::FirstException* here)
            : place_(place), former_(std::exchange(place, here)) {}
        ~KeptAt() { place_ = former_; }
        KeptAt(const KeptAt&) = delete;
        KeptAt& operator=(const KeptAt&) = delete;

    private:
        QuillCoreUtils::FirstException*& place_;
        QuillCoreUtils::FirstException* const former_;
    };

    struct Report {
        std::uint64_t ticket;
        Delivery delivery;
    };

    bool isOnDispatcherThread() const;

    /// On the dispatcher thread.
    template <typename Deliver>
    void deliver(const Deliver& delivery) {
        QuillCoreUtils::FirstException* const kept = thrown_;
        if (kept == nullptr) {
            delivery();
            return;
        }
        const KeptAt nowhere(thrown_, nullptr);
        kept->keepOf(delivery, "A further report threw");
    }

    void passThroughBox(Delivery delivery, std::string_view taskName);
    std::uint64_t put(Delivery delivery);

    /// Delivers the oldest waiting report if its ticket is not above the given one. @return whether there was one.
    bool deliverOldest(std::uint64_t lastTicket);
    bool take(std::uint64_t lastTicket, Delivery& delivery);
    void deliverUpTo(std::uint64_t ticket);

    const std::shared_ptr<ServicesDispatcher> dispatcher_;
    std::atomic<int> depth_ = 0;
    QuillCoreUtils::FirstException* thrown_ = nullptr;  ///< dispatcher thread
    tessel::Mutex mutex_;
    std::deque<Report> box_ TESSEL_GUARDED_BY(mutex_);
    std::uint64_t lastTicket_ TESSEL_GUARDED_BY(mutex_) = 0;
    std::atomic<std::size_t> waiting_ = 0;  ///< how many reports are in the box
};
