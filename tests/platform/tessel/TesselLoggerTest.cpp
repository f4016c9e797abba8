#include "tessel/TesselLogger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "fakes/RecordingLogSink.h"
#include "tessel/LogSink.h"

using namespace std::string_literals;
using testing::ElementsAre;
using Line = fakes::RecordingLogSink::Line;

namespace {

void log(int level, const std::string& text) {
    TesselLog(TesselLogger_getLogger("Test"), level, "File.cpp", 12, "function", text);
}

/// Counts what it is asked to do and tells what it got.
class InspectingSink : public tessel::LogSink {
public:
    void write(const tessel::LogRecord& record) override {
        file = record.file;
        line = record.line;
    }
    void flush() override { ++flushes; }

    std::string file;
    int line = 0;
    int flushes = 0;
};

TEST(TesselLogger, IsTheSameForTheSameName) {
    TesselLogger* const logger = TesselLogger_getLogger("One");
    EXPECT_NE(logger, nullptr);
    EXPECT_EQ(TesselLogger_getLogger("O"s + "ne"), logger);
    EXPECT_NE(TesselLogger_getLogger("one"), logger);
}

TEST(TesselLogger, IsTheSameOnEveryThread) {
    std::latch start(4);
    std::vector<TesselLogger*> loggers(4);
    std::vector<std::thread> threads;
    for (TesselLogger*& logger : loggers) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            logger = TesselLogger_getLogger("SameOnEveryThread");
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(loggers, testing::Each(TesselLogger_getLogger("SameOnEveryThread")));
}

TEST(TesselLog, HandsARecordToTheSink) {
    const fakes::ScopedRecordingLog recorded;
    TesselLog(TesselLogger_getLogger("Store"), 4, "Store.cpp", 1, "getValue", "narrow"s);
    TesselLog(TesselLogger_getLogger("Chain"), 2, "Chain.cpp", 2, "add", L"wide"s);
    EXPECT_THAT(recorded->lines(),
                ElementsAre(Line{4, "Store", "getValue", "narrow"}, Line{2, "Chain", "add", "wide"}));
}

TEST(TesselLog, TellsWhereTheRecordWasMade) {
    const auto sink = std::make_shared<InspectingSink>();
    tessel::LogControl::setSink(sink);
    log(2, "text");
    tessel::LogControl::setSink(nullptr);
    EXPECT_EQ(sink->file, "File.cpp");
    EXPECT_EQ(sink->line, 12);
}

TEST(TesselLog, WritesWideTextAsUtf8WithTheReplacementForWhatIsNone) {
    const fakes::ScopedRecordingLog recorded;
    TesselLog(TesselLogger_getLogger("Test"), 2, "", 0, "f", std::wstring{L'\u00E9', 0xD800, L'\U0001F600'});
    EXPECT_THAT(recorded->texts(2), ElementsAre("\xC3\xA9\xEF\xBF\xBD\xF0\x9F\x98\x80"));
}

TEST(TesselLog, DropsRecordsAboveTheLevel) {
    for (int level = 2; level <= 5; ++level) {
        const fakes::ScopedRecordingLog recorded(level);
        for (int record = 2; record <= 5; ++record) {
            log(record, std::to_string(record));
            TesselLog(TesselLogger_getLogger("Test"), record, "", 0, "f", std::to_wstring(record));
        }
        EXPECT_EQ(recorded->lines().size(), 2U * static_cast<unsigned>(level - 1));
        EXPECT_EQ(recorded->lines().back().level, level);
    }
}

TEST(TesselLog, TellsWhetherDebugTextIsWanted) {
    TesselLogger* const logger = TesselLogger_getLogger("Test");
    tessel::LogControl::setLevel(4);
    EXPECT_FALSE(TesselLog_isDebugEnabled(logger));
    tessel::LogControl::setLevel(5);
    EXPECT_TRUE(TesselLog_isDebugEnabled(logger));
    tessel::LogControl::setLevel(3);
    EXPECT_FALSE(TesselLog_isDebugEnabled(logger));
}

TEST(TesselLog, DropsEverythingWithoutASink) {
    const fakes::ScopedRecordingLog recorded;
    tessel::LogControl::setSink(nullptr);
    log(2, "lost");
    tessel::LogControl::flush();
    EXPECT_TRUE(recorded->lines().empty());
}

TEST(LogControl, StartsAtLevelThree) { EXPECT_EQ(tessel::LogControl::getLevel(), 3); }

TEST(LogControl, KeepsTheLevelBetweenTwoAndFive) {
    tessel::LogControl::setLevel(0);
    EXPECT_EQ(tessel::LogControl::getLevel(), 2);
    tessel::LogControl::setLevel(6);
    EXPECT_EQ(tessel::LogControl::getLevel(), 5);
    tessel::LogControl::setLevel(3);
}

TEST(LogControl, FlushesTheSink) {
    const auto sink = std::make_shared<InspectingSink>();
    tessel::LogControl::setSink(sink);
    tessel::LogControl::flush();
    tessel::LogControl::setSink(nullptr);
    EXPECT_EQ(sink->flushes, 1);
}

TEST(LogControl, LetsGoOfTheOldSink) {
    auto sink = std::make_shared<InspectingSink>();
    const std::weak_ptr<InspectingSink> watched = sink;
    tessel::LogControl::setSink(std::move(sink));
    EXPECT_FALSE(watched.expired());
    tessel::LogControl::setSink(nullptr);
    EXPECT_TRUE(watched.expired());
}

/// Takes itself out of use in the middle of a record.
class LeavingSink : public tessel::LogSink {
public:
    explicit LeavingSink(bool& ended) : ended_(ended) {}
    ~LeavingSink() override { ended_ = true; }

    void write(const tessel::LogRecord&) override {
        tessel::LogControl::setSink(nullptr);
        endedInside = ended_;
        ++writes;
    }

    static inline bool endedInside = false;
    static inline int writes = 0;

private:
    bool& ended_;
};

TEST(LogControl, KeepsTheOldSinkUntilACallIntoItHasReturned) {
    bool ended = false;
    tessel::LogControl::setSink(std::make_shared<LeavingSink>(ended));
    log(2, "text");
    EXPECT_EQ(LeavingSink::writes, 1);
    EXPECT_FALSE(LeavingSink::endedInside);
    EXPECT_TRUE(ended);
}

TEST(LogControl, MayChangeWhileThreadsLog) {
    const auto first = std::make_shared<fakes::RecordingLogSink>();
    const auto second = std::make_shared<fakes::RecordingLogSink>();
    std::latch start(3);
    std::vector<std::thread> threads;
    tessel::LogControl::setSink(first);
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int round = 0; round < 500; ++round) {
                log(3, "text");
            }
        });
    }
    start.arrive_and_wait();
    for (int round = 0; round < 100; ++round) {
        tessel::LogControl::setLevel(3 + round % 3);
        tessel::LogControl::setSink(round % 2 == 0 ? second : first);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    tessel::LogControl::setSink(nullptr);
    tessel::LogControl::setLevel(3);
    EXPECT_EQ(first->count(3, "text") + second->count(3, "text"), 1000U);
}

}  // namespace
