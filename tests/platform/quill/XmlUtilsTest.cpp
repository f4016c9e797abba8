#include "quill/XmlUtils.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace QuillCoreUtils {
namespace {

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

}  // namespace
}  // namespace QuillCoreUtils
