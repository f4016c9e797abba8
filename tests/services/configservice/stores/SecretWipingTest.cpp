#include <libxml/xmlmemory.h>
#include <malloc.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "StoreTestSupport.h"
#include "quill/XmlUtils.h"

namespace storetests {
namespace {

class SecretWiping : public StoreTest {
protected:
    void load(const std::string& entries) {
        document_.reset(xmlReadDoc(BAD_CAST serverDocument(entries).c_str(), "", nullptr, 0), xmlFreeDoc);
        ASSERT_NE(document_, nullptr);
    }

    xmlNode* firstEntry() const { return xmlDocGetRootElement(document_.get())->children->children; }

    Map parseLoaded() {
        ConfigMap values;
        SensitiveKeySet sensitiveKeys;
        EXPECT_TRUE(XmlConfigParser::parseXmlConfig(document_, values, sensitiveKeys));
        return plain(values);
    }

    std::shared_ptr<xmlBuffer> bufferOf(const char* text) const {
        std::shared_ptr<xmlBuffer> buffer(xmlBufferCreate(), QuillCoreUtils::XmlUtils::xmlBufferFreer);
        xmlBufferAdd(buffer.get(), BAD_CAST text, -1);
        return buffer;
    }

    std::shared_ptr<xmlDoc> document_;
};

/// Memory of the program's own for libxml2, which nobody wipes: tells whether a text is in what is given back.
class LibraryMemory {
public:
    explicit LibraryMemory(const std::string& text) {
        sought_ = text;
        isFound_ = false;
        xmlMemGet(&release_, &allocate_, &move_, &duplicate_);
        xmlMemSetup(&takeBack, allocate_, move_, duplicate_);
    }
    ~LibraryMemory() { xmlMemSetup(release_, allocate_, move_, duplicate_); }
    LibraryMemory(const LibraryMemory&) = delete;
    LibraryMemory& operator=(const LibraryMemory&) = delete;

    static bool hasTextBeenGivenBack() { return isFound_; }

private:
    static void takeBack(void* memory) {
        if (memory != nullptr) {
            const std::string_view bytes(static_cast<const char*>(memory), malloc_usable_size(memory));
            isFound_ = isFound_ || bytes.find(sought_) != std::string_view::npos;
        }
        release_(memory);
    }

    static inline std::string sought_;
    static inline bool isFound_ = false;
    static inline xmlFreeFunc release_ = nullptr;
    static inline xmlMallocFunc allocate_ = nullptr;
    static inline xmlReallocFunc move_ = nullptr;
    static inline xmlStrdupFunc duplicate_ = nullptr;
};

std::string textOf(const xmlNode* node) { return reinterpret_cast<const char*>(node->content); }

TEST_F(SecretWiping, WipesTheTreesCopyOfBothWellKnownSecrets) {
    load("<connectionPASSWORD>hunter22</connectionPASSWORD><BDIConnectionPassword>hunter23</BDIConnectionPassword>");
    EXPECT_EQ(parseLoaded(), (Map{{L"connectionpassword", L"hunter22"}, {L"bdiconnectionpassword", L"hunter23"}}));
    EXPECT_EQ(textOf(firstEntry()->children), "");
    EXPECT_EQ(textOf(firstEntry()->next->children), "");
}

TEST_F(SecretWiping, WipesEachPieceOfTheTreesCopy) {
    load("<ConnectionPassword>hunter22<![CDATA[hunter23]]></ConnectionPassword>");
    EXPECT_EQ(parseLoaded(), (Map{{L"connectionpassword", L"hunter22hunter23"}}));
    EXPECT_EQ(textOf(firstEntry()->children), "");
    EXPECT_EQ(textOf(firstEntry()->children->next), "");
}

TEST_F(SecretWiping, LeavesAKeyThatIsOnlyMarkedSensitive) {
    load("<Pin sensitive='true'>12345678</Pin>");
    parseLoaded();
    EXPECT_EQ(textOf(firstEntry()->children), "12345678");
}

TEST_F(SecretWiping, LeavesEqualTextsOfOtherKeysAloneWhenASecretIsShort) {
    load("<ConnectionPassword>abc</ConnectionPassword><abc>abc</abc><Other>abc</Other>");
    EXPECT_EQ(parseLoaded(), (Map{{L"connectionpassword", L"abc"}, {L"abc", L"abc"}, {L"other", L"abc"}}));
}

TEST_F(SecretWiping, WipesTheWholeAllocationOfABuffer) {
    load("<ConnectionPassword/>");
    const auto buffer = bufferOf("<x>hunter22</x>");
    memzeroSensitiveNodeValue(firstEntry(), L"CONNECTIONpassword", buffer);
    const unsigned char* const begin = buffer->content;
    EXPECT_TRUE(std::all_of(begin, begin + buffer->size, [](unsigned char byte) { return byte == 0; }));
}

TEST_F(SecretWiping, LeavesABufferOfAnotherKey) {
    load("<Other/>");
    const auto buffer = bufferOf("text");
    memzeroSensitiveNodeValue(firstEntry(), L"Other", buffer);
    EXPECT_STREQ(reinterpret_cast<const char*>(buffer->content), "text");
}

TEST_F(SecretWiping, WipesATextThatNoDictionaryCanHold) {
    const auto wiped = [](xmlNode* node) {
        memzeroSensitiveNodeValue(node, L"ConnectionPassword", nullptr);
        return textOf(node).empty();
    };
    const std::shared_ptr<xmlNode> alone(xmlNewText(BAD_CAST "hunter22"), xmlFreeNode);
    EXPECT_TRUE(wiped(alone.get())) << "of no document";
    const std::shared_ptr<xmlDoc> document(xmlNewDoc(BAD_CAST "1.0"), xmlFreeDoc);
    const std::shared_ptr<xmlNode> text(xmlNewDocText(document.get(), BAD_CAST "hunter22"), xmlFreeNode);
    EXPECT_TRUE(wiped(text.get())) << "of a document without a dictionary";
}

TEST_F(SecretWiping, TakesABufferWithoutContents) {
    load("<ConnectionPassword>hunter22</ConnectionPassword>");
    const auto buffer = bufferOf("text");
    xmlFree(xmlBufferDetach(buffer.get()));
    memzeroSensitiveNodeValue(firstEntry()->children, L"ConnectionPassword", buffer);
    EXPECT_EQ(textOf(firstEntry()->children), "");
}

TEST_F(SecretWiping, TakesANullNode) {
    const auto buffer = bufferOf("text");
    memzeroSensitiveNodeValue(nullptr, L"ConnectionPassword", buffer);
    EXPECT_STREQ(reinterpret_cast<const char*>(buffer->content), "text");
}

TEST_F(SecretWiping, GivesASecretThatIsMarkupWithItsTags) {
    load("<ConnectionPassword>hunter22<!-- c --></ConnectionPassword>");
    EXPECT_EQ(parseLoaded(),
              (Map{{L"connectionpassword", L"<ConnectionPassword>hunter22<!-- c --></ConnectionPassword>"}}));
    EXPECT_EQ(textOf(firstEntry()->children), "hunter22") << "the tree below stays until the document ends";
}

TEST_F(SecretWiping, WipesWhatASecretThatIsMarkupIsPrintedTo) {
    load("<ConnectionPassword>hunter22<!-- c --></ConnectionPassword><Other>hunter33<!-- c --></Other>");
    for (const auto& [text, isLeft] : {std::pair("<ConnectionPassword>hunter22", false), {"<Other>hunter33", true}}) {
        const LibraryMemory memory(text);
        parseLoaded();
        EXPECT_EQ(memory.hasTextBeenGivenBack(), isLeft) << text;
    }
}

}  // namespace
}  // namespace storetests
