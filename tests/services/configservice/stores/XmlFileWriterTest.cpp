#include "xml/XmlFileWriter.h"

#include <fcntl.h>
#include <libxml/parser.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>

#include "StoreTestSupport.h"

namespace storetests {
namespace {

/// Takes the standard input away for the length of a scope.
class NoStandardInput {
public:
    NoStandardInput() { ::close(STDIN_FILENO); }
    ~NoStandardInput() {
        ::dup2(kept_, STDIN_FILENO);
        ::close(kept_);
    }
    NoStandardInput(const NoStandardInput&) = delete;
    NoStandardInput& operator=(const NoStandardInput&) = delete;

private:
    const int kept_ = ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
};

class XmlFileWriting : public StoreTest {
protected:
    /// The number that the next file gets which this process opens: the lowest that is free.
    static int nextDescriptor() {
        const int descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::close(descriptor);
        return descriptor;
    }

    const std::string file_ = path("document.xml");
};

TEST_F(XmlFileWriting, ClosesItsFileWhenItIsFinished) {
    const int next = nextDescriptor();
    XmlFileWriter writer(file_);
    EXPECT_NE(nextDescriptor(), next);
    EXPECT_TRUE(writer.finish());
    EXPECT_EQ(nextDescriptor(), next);
}

TEST_F(XmlFileWriting, ClosesItsFileWhenItIsGivenUp) {
    const int next = nextDescriptor();
    std::make_unique<XmlFileWriter>(file_).reset();
    EXPECT_EQ(nextDescriptor(), next);
}

TEST_F(XmlFileWriting, LeavesAFileAloneThatHasItsFormerDescriptor) {
    auto writer = std::make_unique<XmlFileWriter>(file_);
    writer->finish();
    const int stranger = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    writer.reset();
    EXPECT_NE(::fcntl(stranger, F_GETFD), -1) << "it was closed";
    ::close(stranger);
}

TEST_F(XmlFileWriting, TakesThePlaceOfALinkAndNotOfWhatItLeadsTo) {
    write("elsewhere.xml", "kept");
    std::filesystem::create_symlink(path("elsewhere.xml"), file_);
    XmlFileWriter writer(file_);
    writer.takeDocument("new");
    EXPECT_TRUE(writer.finish());
    EXPECT_EQ(read("elsewhere.xml"), "kept");
    EXPECT_EQ(read("document.xml"), "new");
    EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(file_)));
}

TEST_F(XmlFileWriting, MakesAFileForTheUserAloneUnderAnyMask) {
    const mode_t former = ::umask(0777);
    XmlFileWriter writer(file_);
    ::umask(former);
    EXPECT_TRUE(writer.isOpen());
    struct stat status {};
    ::stat(file_.c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777U, mode_t{0600});
}

TEST_F(XmlFileWriting, SavesADocumentUnderItsVeryName) {
    const std::shared_ptr<xmlDoc> document(xmlReadDoc(BAD_CAST "<r/>", "", nullptr, 0), xmlFreeDoc);
    for (const char* const name : {"%41.xml", "100%.xml", "a b&c.xml", "plain.xml"}) {
        EXPECT_TRUE(XmlFileWriter::saveDocument(path(name), *document)) << name;
        EXPECT_THAT(read(name), testing::HasSubstr("<r/>")) << name;
    }
    EXPECT_FALSE(std::filesystem::exists(path("A.xml")));
}

TEST_F(XmlFileWriting, SaysSoWhenADocumentIsNotSaved) {
    const std::shared_ptr<xmlDoc> document(xmlReadDoc(BAD_CAST "<r/>", "", nullptr, 0), xmlFreeDoc);
    std::filesystem::create_directories(file_);
    EXPECT_FALSE(XmlFileWriter::saveDocument(file_, *document));
    EXPECT_FALSE(XmlFileWriter::saveDocument(path("missing/document.xml"), *document));
}

TEST_F(XmlFileWriting, ClosesItsFileWhenADocumentIsSaved) {
    const std::shared_ptr<xmlDoc> document(xmlReadDoc(BAD_CAST "<r/>", "", nullptr, 0), xmlFreeDoc);
    const int next = nextDescriptor();
    EXPECT_TRUE(XmlFileWriter::saveDocument(file_, *document));
    EXPECT_EQ(nextDescriptor(), next);
}

TEST_F(XmlFileWriting, IsDoneWithTheLowestDescriptorAsWithAnyOther) {
    const std::shared_ptr<xmlDoc> document(xmlReadDoc(BAD_CAST "<r/>", "", nullptr, 0), xmlFreeDoc);
    bool isOpen = false;
    bool isSaved = false;
    {
        const NoStandardInput zeroIsNext;
        const mode_t former = ::umask(0777);
        isOpen = XmlFileWriter(file_).isOpen();
        isSaved = XmlFileWriter::saveDocument(path("saved.xml"), *document);
        ::umask(former);
    }
    EXPECT_TRUE(isOpen);
    EXPECT_TRUE(isSaved);
    for (const std::string& file : {file_, path("saved.xml")}) {
        struct stat status {};
        ::stat(file.c_str(), &status);
        EXPECT_EQ(status.st_mode & 07777U, mode_t{0600}) << file;
    }
}

TEST_F(XmlFileWriting, TakesAnElementWithoutANameForNothing) {
    XmlFileWriter writer(file_);
    EXPECT_TRUE(writer.writeElement("", L"text"));
    EXPECT_TRUE(writer.finish());
    EXPECT_THAT(read("document.xml"), testing::Not(testing::HasSubstr("text")));
}

TEST_F(XmlFileWriting, IsNotOpenInThePlaceOfAFolder) {
    std::filesystem::create_directories(file_);
    EXPECT_FALSE(XmlFileWriter(file_).isOpen());
    EXPECT_TRUE(std::filesystem::is_directory(file_));
}

}  // namespace
}  // namespace storetests
