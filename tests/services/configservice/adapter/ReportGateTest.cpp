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

    void pass(const ReportGate::Delivery& delivery, const std::string& taskName = "task") {
        gate_->pass(
            delivery, [&] { return delivery; }, taskName);
    }

    void passOnForeignThread(const std::string& what, const std::string& taskName = "foreign") {
        std::thread([&] { pass(note(what), taskName); }).join();
    }

    std::shared_ptr<fakes::HandSteppedDispatcher> dispatcher_ = std::make_shared<fakes::HandSteppedDispatcher>();
    std::shared_ptr<ReportGate> gate_ = std::make_shared<ReportGate>(dispatcher_);
    std::vector<std::string> delivered_;
};

}  // namespace

TEST_F(ReportGateTest, DeliversAtOnceOnTheDispatcherThread) {
    pass(note("a"));
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

TEST_F(ReportGateTest, GathersWhatADeliveryNeedsOnlyIfItHasToWait) {
    std::size_t gathered = 0;
    const auto gather = [&] {
        ++gathered;
        return note("later");
    };
    const auto deliver = [&] { delivered_.push_back("at once"); };
    gate_->pass(deliver, gather, "task");
    EXPECT_EQ(gathered, 0U);
    std::thread([&] { gate_->pass(deliver, gather, "task"); }).join();
    EXPECT_EQ(gathered, 1U);
    gate_->pass(deliver, gather, "task");
    EXPECT_EQ(gathered, 2U);
    gate_->pass(deliver, gather, "task");
    EXPECT_EQ(gathered, 2U);
    EXPECT_THAT(delivered_, ElementsAre("at once", "later", "later", "at once"));
}

TEST_F(ReportGateTest, DeliversWhatWaitsBeforeTheDirectReport) {
    passOnForeignThread("older 1");
    passOnForeignThread("older 2");
    pass(note("newer"));
    EXPECT_THAT(delivered_, ElementsAre("older 1", "older 2", "newer"));
}

TEST_F(ReportGateTest, KnowsOnTheDispatcherThreadWhetherAnythingIsAhead) {
    EXPECT_TRUE(gate_->nothingIsAhead());
    std::thread([&] { EXPECT_FALSE(gate_->nothingIsAhead()); }).join();
    passOnForeignThread("older");
    EXPECT_FALSE(gate_->nothingIsAhead());
    dispatcher_->runAll();
    EXPECT_TRUE(gate_->nothingIsAhead());
    EXPECT_FALSE(std::make_shared<ReportGate>(nullptr)->nothingIsAhead());
}

TEST_F(ReportGateTest, ATaskWhoseReportIsGoneFindsNone) {
    passOnForeignThread("older");
    pass(note("newer"));
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
        pass([&] {
            delivered_.push_back("older");
            pass(note("written by the observer"));
        });
        pass(note("also older"));
    }).join();
    pass(note("direct"));
    EXPECT_THAT(delivered_, ElementsAre("older", "also older", "direct", "written by the observer"));
}

TEST_F(ReportGateTest, AnObserverThatWritesFindsItsOwnReportDelivered) {
    pass([&] {
        pass(note("inner"));
        delivered_.push_back("after inner");
    });
    EXPECT_THAT(delivered_, ElementsAre("inner", "after inner"));
}

TEST_F(ReportGateTest, GoesOnAfterADeliveryThatThrows) {
    EXPECT_THROW(pass([] { throw std::runtime_error("observer"); }), std::runtime_error);
    EXPECT_FALSE(gate_->isInsideNotification());
    pass(note("next"));
    EXPECT_THAT(delivered_, ElementsAre("next"));
}

TEST_F(ReportGateTest, DeliversTheCallersOwnReportBehindAnOlderOneThatThrows) {
    std::thread([&] {
        pass([] { throw std::runtime_error("older"); });
        pass(note("older"));
    }).join();
    EXPECT_THROW(pass(note("own")), std::runtime_error);
    EXPECT_THAT(delivered_, ElementsAre("older", "own"));
    EXPECT_EQ(dispatcher_->runAll(), 2U);
    EXPECT_THAT(delivered_, ElementsAre("older", "own"));
}

TEST_F(ReportGateTest, ThrowsTheFirstOfSeveralExceptionsAndLogsTheOthers) {
    const fakes::ScopedRecordingLog log;
    std::thread([&] {
        pass([] { throw std::runtime_error("first"); });
        pass([] { throw std::logic_error("second"); });
        pass([] { throw 3; });
    }).join();
    try {
        pass(note("own"));
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "first");
    }
    EXPECT_THAT(log->texts(2), ElementsAre("A further report threw: second",
                                           "A further report threw: an exception of an unknown type"));
    EXPECT_THAT(delivered_, ElementsAre("own"));
}

TEST_F(ReportGateTest, AnOperationOfSeveralStepsGoesToItsEndBehindClientsThatThrow) {
    const fakes::ScopedRecordingLog log;
    passOnForeignThread("older");
    try {
        gate_->toTheEnd([&] {
            pass([] { throw std::runtime_error("first"); });
            pass(note("step"));
            gate_->passFirst([] { throw std::logic_error("second"); }, "task");
            delivered_.emplace_back("last step");
        });
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "first");
    }
    EXPECT_THAT(delivered_, ElementsAre("older", "step", "last step"));
    EXPECT_THAT(log->texts(2), ElementsAre("A further report threw: second"));
    EXPECT_FALSE(gate_->isInsideNotification());
    EXPECT_THROW(pass([] { throw std::runtime_error("alone"); }), std::runtime_error);
}

TEST_F(ReportGateTest, AnOperationInsideAnotherOneIsAPartOfIt) {
    EXPECT_THROW(gate_->toTheEnd([&] {
        gate_->toTheEnd([&] { pass([] { throw std::runtime_error("inner"); }); });
        pass(note("outer"));
    }),
                 std::runtime_error);
    EXPECT_THAT(delivered_, ElementsAre("outer"));
}

TEST_F(ReportGateTest, AnOperationThatAClientStartsThrowsToThatClient) {
    gate_->toTheEnd([&] {
        pass([&] {
            EXPECT_THROW(gate_->toTheEnd([&] { pass([] { throw std::runtime_error("observer"); }); }),
                         std::runtime_error);
            EXPECT_THROW(pass([] { throw std::runtime_error("observer"); }), std::runtime_error);
            delivered_.emplace_back("client");
        });
    });
    EXPECT_THAT(delivered_, ElementsAre("client"));
}

TEST_F(ReportGateTest, AnOperationThatFailsItselfThrowsBehindWhatAClientHasThrown) {
    const fakes::ScopedRecordingLog log;
    EXPECT_THROW(gate_->toTheEnd([&] {
        pass([] { throw std::runtime_error("client"); });
        throw std::logic_error("operation");
    }),
                 std::runtime_error);
    EXPECT_THAT(log->texts(2), ElementsAre("The operation itself threw as well: operation"));
}

TEST_F(ReportGateTest, AnOperationOfAnotherThreadLeavesWhatIsThrownToTheTasks) {
    std::thread([&] {
        gate_->toTheEnd([&] {
            pass([] { throw std::runtime_error("client"); });
            pass(note("step"));
        });
    }).join();
    EXPECT_THROW(dispatcher_->runAll(), std::runtime_error);
    EXPECT_THAT(delivered_, IsEmpty());
    dispatcher_->runAll();
    EXPECT_THAT(delivered_, ElementsAre("step"));
}

TEST_F(ReportGateTest, KnowsThatItIsInsideANotification) {
    bool inside = false;
    bool elsewhere = true;
    pass([&] {
        inside = gate_->isInsideNotification();
        std::thread([&] { elsewhere = gate_->isInsideNotification(); }).join();
    });
    EXPECT_TRUE(inside);
    EXPECT_FALSE(elsewhere);
    EXPECT_FALSE(gate_->isInsideNotification());
}

TEST_F(ReportGateTest, ADeliveryByTaskIsNoNotificationUnderTheChainsLocks) {
    bool inside = true;
    std::thread([&] { pass([&] { inside = gate_->isInsideNotification(); }); }).join();
    dispatcher_->runAll();
    EXPECT_FALSE(inside);
}

TEST_F(ReportGateTest, TasksAreHarmlessOnceTheGateIsGone) {
    passOnForeignThread("a");
    gate_.reset();
    EXPECT_EQ(dispatcher_->runAll(), 1U);
    EXPECT_THAT(delivered_, IsEmpty());
}

TEST_F(ReportGateTest, PassesOnTheDispatcherThreadWhatComesFirstAheadOfAllThatWaits) {
    passOnForeignThread("waiting");
    gate_->passFirst(note("first"), "task");
    EXPECT_THAT(delivered_, ElementsAre("first"));
    dispatcher_->runAll();
    EXPECT_THAT(delivered_, ElementsAre("first", "waiting"));
}

TEST_F(ReportGateTest, PassesWhatComesFirstOfAnotherThreadBeforeItsLaterReports) {
    passOnForeignThread("earlier");
    std::thread([&] { gate_->passFirst(note("first"), "first task"); }).join();
    passOnForeignThread("later");
    EXPECT_THAT(dispatcher_->waitingNames(), ElementsAre("foreign", "first task", "foreign"));
    pass(note("direct"));
    EXPECT_THAT(delivered_, ElementsAre("earlier", "first", "later", "direct"));
    dispatcher_->runAll();
    EXPECT_EQ(delivered_.size(), 4U);
}

TEST_F(ReportGateTest, WithoutADispatcherDeliversNothing) {
    gate_ = std::make_shared<ReportGate>(nullptr);
    pass(note("a"));
    gate_->passFirst(note("b"), "task");
    EXPECT_THAT(delivered_, IsEmpty());
    EXPECT_FALSE(gate_->isInsideNotification());
}
