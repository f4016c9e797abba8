#include "quill/XmlUtils.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "fakes/RecordingLogSink.h"

namespace QuillCoreUtils {
namespace {

/// Of so many messages, how many are admitted.
int admittedOf(int messages) {
    int admitted = 0;
    while (messages-- > 0) {
        admitted += XmlReading::admitsMessage() ? 1 : 0;
    }
    return admitted;
}

TEST(XmlUtils, FreesABufferThatIsShared) {
    const std::shared_ptr<xmlBuffer> buffer(xmlBufferCreate(), &XmlUtils::xmlBufferFreer);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(xmlBufferCat(buffer.get(), reinterpret_cast<const xmlChar*>("text")), 0);
    EXPECT_EQ(xmlBufferLength(buffer.get()), 4);
}

TEST(XmlUtils, TakesNoBufferForNothingToFree) {
    XmlUtils::xmlBufferFreer(nullptr);
    const std::shared_ptr<xmlBuffer> none(nullptr, &XmlUtils::xmlBufferFreer);
    EXPECT_EQ(none, nullptr);
}

TEST(XmlUtils, InitialisesTheLibraryForManyThreads) {
    const std::string document = "<Corvid><key>value</key></Corvid>";
    std::vector<std::thread> threads;
    std::vector<int> parsed(4, 0);
    for (int& result : parsed) {
        threads.emplace_back([&] {
            XmlUtils::initialiseLibrary();
            const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> tree(
                xmlReadMemory(document.data(), static_cast<int>(document.size()), nullptr, nullptr, 0), &xmlFreeDoc);
            result = tree != nullptr && xmlDocGetRootElement(tree.get()) != nullptr;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(parsed, std::vector<int>(4, 1));
}

TEST(XmlReading, AdmitsTheFirstMessagesOfEachDocument) {
    const std::string name = "document";
    for (int document = 0; document < 2; ++document) {
        const XmlReading reading(name);
        EXPECT_EQ(admittedOf(1000), 20);
    }
}

TEST(XmlReading, TellsAtItsEndHowManyMoreThereWere) {
    const fakes::ScopedRecordingLog log;
    const std::string name = "document";
    {
        const XmlReading reading(name);
        admittedOf(21);
        EXPECT_TRUE(log->lines().empty());
    }
    EXPECT_EQ(log->texts(3), std::vector<std::string>{"document: further messages: 1"});
}

TEST(XmlReading, TellsNothingWhereAllWereAdmitted) {
    const fakes::ScopedRecordingLog log;
    const std::string name = "document";
    {
        const XmlReading reading(name);
        admittedOf(20);
    }
    EXPECT_TRUE(log->lines().empty());
}

TEST(XmlReading, AdmitsEveryMessageThatIsOfNoDocument) {
    const std::string name = "document";
    { const XmlReading before(name); }
    EXPECT_EQ(admittedOf(1000), 1000);
}

TEST(XmlReading, GoesOnWithTheOuterDocumentAfterOneThatWasReadMeanwhile) {
    const std::string name = "document";
    const XmlReading outer(name);
    EXPECT_EQ(admittedOf(15), 15);
    {
        const XmlReading inner(name);
        EXPECT_EQ(admittedOf(1000), 20);
    }
    EXPECT_EQ(admittedOf(1000), 5);
}

TEST(XmlReading, CountsForItsOwnThread) {
    const std::string name = "document";
    const XmlReading reading(name);
    EXPECT_EQ(admittedOf(1000), 20);
    int admitted = 0;
    std::thread([&] { admitted = admittedOf(1000); }).join();
    EXPECT_EQ(admitted, 1000);
}

}  // namespace
}  // namespace QuillCoreUtils
