#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "EdgeFixture.h"
#include "fakes/HandSteppedThreadPool.h"
#include "fakes/ScriptedHttpTransport.h"

/// A transport that also notes each transfer's start: "download".
class NotingTransport : public fakes::ScriptedHttpTransport {
public:
    explicit NotingTransport(Course course) : course_(std::move(course)) {}
    bool start(Transfer transfer) override {
        course_->push_back("download");
        return ScriptedHttpTransport::start(std::move(transfer));
    }

private:
    const Course course_;
};

/// A module in edge mode that has a server to download from, so that the start of the source begins one transfer.
class EdgeDownloadFixture : public EdgeFixture {
protected:
    EdgeDownloadFixture() {
        world.change([this](platform::World& changed) {
            changed.httpTransport = transport;
            changed.threadPool = pool;
        });
        writeLocal({{"TFTPPrimaryServer", "one"}, {"HomeUdsVersion", "12"}});
    }

    /// What another thread would do, on this one: what belongs to the dispatcher thread waits for its step.
    void elsewhere(const std::function<void()>& action) {
        dispatcher->setUpdateAccess(false);
        action();
        dispatcher->setUpdateAccess(true);
    }

    /// Watches as EdgeFixture does, and forgets the first transfer's note.
    void watchAfterTheFirstDownload(ServerHealthInformationList list) {
        watch(std::move(list));
        course->clear();
    }

    void restartSource() {
        adapter()->stopTftpConfigSource();
        adapter()->startTftpConfigSource();
    }

    /// Beside the one of the source's start, the forced cycles that telephony asked for.
    void expectDownloads(std::size_t count) {
        EXPECT_EQ(downloadLines(), count);
        const DownloadJournal::Snapshot snapshot = adapter()->getDownloadJournal()->snapshot();
        EXPECT_EQ(snapshot.cyclesEver, count + 1);
        for (const DownloadJournal::Cycle& cycle : snapshot.cycles) {
            EXPECT_TRUE(cycle.forced);
        }
    }

    /// The entry's state changes between the look at it and the connecting, so that the notifier fires for nobody.
    static void connectInTheGap(const std::shared_ptr<RecordedHealth>& entry) {
        entry->notifier->callbacks.beforeConnecting = [entry = entry.get()] { entry->status = CONNECTED; };
    }

    const std::shared_ptr<NotingTransport> transport = std::make_shared<NotingTransport>(course);
    const std::shared_ptr<fakes::HandSteppedThreadPool> pool = std::make_shared<fakes::HandSteppedThreadPool>();
};
