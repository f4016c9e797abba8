#include "ReportGate.h"

#include <atomic>
#include <latch>
#include <stdexcept>
#include <thread>

#include "fakes/HandSteppedDispatcher.h"
#include "fakes/RecordingLogSink.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ReportGateTest : public testing::Test {
protected:
    ReportGate::Delivery note(const std::string& what) {
        return [this, what] { delivered_.push_back(what); };
    }

    void passOnForeignThread(const std::string& what, const std::string& taskName = "foreign") {
        std::thread([&] { gate_->pass(note(what), taskName); }).join();
    }

    std::shared_ptr<fakes::HandSteppedDispatcher> dispatcher_ = std::make_shared<fakes::HandSteppedDispatcher>();
    std::shared_ptr<ReportGate> gate_ = std::make_shared<ReportGate>(dispatcher_);
    std::vector<std::string> delivered_;
};

}  // namespace

TEST_F(ReportGateTest, DeliversAtOnceOnTheDispatcherThread) {
    gate_->pass(note("a"), "task");
    EXPECT_THAT(delivered_, ElementsAre("a"));
    EXPECT_THAT(dispatcher_->allNames(), IsEmpty());
}

TEST_F(ReportGateTest, QueuesATaskOfThatNameFromAnotherThread) {
    passOnForeignThread("a", "ConfigServiceImpl::OnConfigChanged");
    EXPECT_THAT(delivered_, IsEmpty());
    EXPECT_THAT(dispatcher_->waitingNames(), ElementsAre("ConfigServiceImpl::OnConfigChanged"));
    dispatcher_->runAll();
    EXPECT_THAT(delivered_, ElementsAre("a"));
}

TEST_F(ReportGateTest, DeliversWhatWaitsBeforeTheDirectReport) {
    passOnForeignThread("older 1");
    passOnForeignThread("older 2");
    gate_->pass(note("newer"), "task");
    EXPECT_THAT(delivered_, ElementsAre("older 1", "older 2", "newer"));
}

TEST_F(ReportGateTest, ATaskWhoseReportIsGoneFindsNone) {
    passOnForeignThread("older");
    gate_->pass(note("newer"), "task");
    EXPECT_EQ(dispatcher_->runAll(), 1U);
    EXPECT_THAT(delivered_, ElementsAre("older", "newer"));
}

TEST_F(ReportGateTest, EachTaskDeliversOneReport) {
    passOnForeignThread("a");
    passOnForeignThread("b");
    dispatcher_->runOne();
    EXPECT_THAT(delivered_, ElementsAre("a"));
    dispatcher_->runOne();
    EXPECT_THAT(delivered_, ElementsAre("a", "b"));
}

TEST_F(ReportGateTest, KeepsTheOrderWhenAnObserverWritesDuringTheDeliveryOfAnOlderReport) {
    std::thread([&] {
        gate_->pass(
            [&] {
                delivered_.push_back("older");
                gate_->pass(note("written by the observer"), "task");
            },
            "task");
        gate_->pass(note("also older"), "task");
    }).join();
    gate_->pass(note("direct"), "task");
    EXPECT_THAT(delivered_, ElementsAre("older", "also older", "direct", "written by the observer"));
}

TEST_F(ReportGateTest, AnObserverThatWritesFindsItsOwnReportDelivered) {
    gate_->pass(
        [&] {
            gate_->pass(note("inner"), "task");
            delivered_.push_back("after inner");
        },
        "task");
    EXPECT_THAT(delivered_, ElementsAre("inner", "after inner"));
}

TEST_F(ReportGateTest, GoesOnAfterADeliveryThatThrows) {
    EXPECT_THROW(gate_->pass([] { throw std::runtime_error("observer"); }, "task"), std::runtime_error);
    EXPECT_FALSE(gate_->isInsideNotification());
    gate_->pass(note("next"), "task");
    EXPECT_THAT(delivered_, ElementsAre("next"));
}

TEST_F(ReportGateTest, DeliversTheCallersOwnReportBehindAnOlderOneThatThrows) {
    std::thread([&] {
        gate_->pass([] { throw std::runtime_error("older"); }, "task");
        gate_->pass(note("older"), "task");
    }).join();
    EXPECT_THROW(gate_->pass(note("own"), "task"), std::runtime_error);
    EXPECT_THAT(delivered_, ElementsAre("older", "own"));
    EXPECT_EQ(dispatcher_->runAll(), 2U);
    EXPECT_THAT(delivered_, ElementsAre("older", "own"));
}

TEST_F(ReportGateTest, ThrowsTheFirstOfSeveralExceptionsAndLogsTheOthers) {
    const fakes::ScopedRecordingLog log;
    std::thread([&] {
        gate_->pass([] { throw std::runtime_error("first"); }, "task");
        gate_->pass([] { throw std::logic_error("second"); }, "task");
        gate_->pass([] { throw 3; }, "task");
    }).join();
    try {
        gate_->pass(note("own"), "task");
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "first");
    }
    EXPECT_THAT(log->texts(2), ElementsAre("A further report threw: second",
                                           "A further report threw: an exception of an unknown type"));
    EXPECT_THAT(delivered_, ElementsAre("own"));
}

TEST_F(ReportGateTest, KnowsThatItIsInsideANotification) {
    bool inside = false;
    bool elsewhere = true;
    gate_->pass(
        [&] {
            inside = gate_->isInsideNotification();
            std::thread([&] { elsewhere = gate_->isInsideNotification(); }).join();
        },
        "task");
    EXPECT_TRUE(inside);
    EXPECT_FALSE(elsewhere);
    EXPECT_FALSE(gate_->isInsideNotification());
}

TEST_F(ReportGateTest, ADeliveryByTaskIsNoNotificationUnderTheChainsLocks) {
    bool inside = true;
    std::thread([&] { gate_->pass([&] { inside = gate_->isInsideNotification(); }, "task"); }).join();
    dispatcher_->runAll();
    EXPECT_FALSE(inside);
}

TEST_F(ReportGateTest, TasksAreHarmlessOnceTheGateIsGone) {
    passOnForeignThread("a");
    gate_.reset();
    EXPECT_EQ(dispatcher_->runAll(), 1U);
    EXPECT_THAT(delivered_, IsEmpty());
}

TEST_F(ReportGateTest, PassesBesideTheBox) {
    passOnForeignThread("waiting");
    gate_->passBeside(note("beside"), "task");
    EXPECT_THAT(delivered_, ElementsAre("beside"));
    std::thread([&] { gate_->passBeside(note("beside by task"), "beside task"); }).join();
    EXPECT_THAT(dispatcher_->waitingNames(), ElementsAre("foreign", "beside task"));
    dispatcher_->runAll();
    EXPECT_THAT(delivered_, ElementsAre("beside", "waiting", "beside by task"));
}

TEST_F(ReportGateTest, WithoutADispatcherDeliversNothing) {
    const auto gate = std::make_shared<ReportGate>(nullptr);
    gate->pass(note("a"), "task");
    gate->passBeside(note("b"), "task");
    EXPECT_THAT(delivered_, IsEmpty());
    EXPECT_FALSE(gate->isInsideNotification());
}
