#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "fakes/RecordingLogSink.h"
#include "impl/system/LogindPowerSource.h"
#include "support/BusClient.h"
#include "support/PrivateBus.h"

/// Keeps the numbers of power events.
class PowerEvents {
public:
    TesselSystemMonitor::LogindPowerSource::Report recorder() {
        return [this](TesselSystemMonitor::PowerEventTypeEnum::PowerEventType type) {
            const std::lock_guard<std::mutex> lock(mutex_);
            numbers_.push_back(type);
            changed_.notify_all();
        };
    }

    std::vector<int> numbers() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return numbers_;
    }

    /// Returns when so many have come, ever.
    std::vector<int> waitFor(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return numbers_.size() >= count; });
        return numbers_;
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<int> numbers_;
};

/// A private bus with a login manager on it, and a source that listens there.
class PowerListener : public ::testing::Test {
protected:
    PowerListener() { logind.own(support::BusClient::LOGIND); }

    void listen() { listenWith(events.recorder()); }

    /// Returns when nothing is missed any more.
    void listenWith(TesselSystemMonitor::LogindPowerSource::Report report) {
        source = std::make_unique<TesselSystemMonitor::LogindPowerSource>(std::move(report), bus.address());
        log->waitFor("Listening for power events");
    }

    /// What has come, once everything that the bus has taken so far has: the last event, a sleep, tells.
    std::vector<int> eventsUpToASleep(std::size_t count = 1) {
        logind.emit({"PrepareForSleep"});
        return events.waitFor(count);
    }

    support::PrivateBus bus;
    support::BusClient logind{bus.address()};
    fakes::ScopedRecordingLog log;
    PowerEvents events;
    std::unique_ptr<TesselSystemMonitor::LogindPowerSource> source;
};
