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

TEST_F(XmlFileWriting, IsNotOpenInThePlaceOfAFolder) {
    std::filesystem::create_directories(file_);
    EXPECT_FALSE(XmlFileWriter(file_).isOpen());
    EXPECT_TRUE(std::filesystem::is_directory(file_));
}

}  // namespace
}  // namespace storetests
