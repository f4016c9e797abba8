#include "comparing/SimulationPlan.h"

#include <sys/stat.h>

#include "Tool.h"

using namespace corvidctl;
using testing::HasSubstr;

namespace {

class Plan : public ::testing::Test {
protected:
    std::string problem() const { return readPlan(invocation_).problem; }

    const fakes::TemporaryDirectory directory_;
    const std::string file_ = directory_.write("file.xml", "<c><g><A>1</A></g></c>");
    Invocation invocation_;
};

std::string problemIn(const std::string& store, StorePlace place, const std::string& file) {
    return problemOf({place, store, file});
}

}  // namespace

TEST_F(Plan, NeedsAChange) {
    EXPECT_EQ(problem(), "simulate: expected a change: --replace, --without, --set or --unset");
}

TEST_F(Plan, ReadsEveryKindOfChange) {
    invocation_.replaced = {"tftpconfigstore=" + file_};
    invocation_.without = {"LocalFileConfigStore"};
    invocation_.setKeys = {"A=b=c", "B="};
    invocation_.unsetKeys = {"C"};
    const SimulationPlan plan = readPlan(invocation_);
    EXPECT_EQ(plan.problem, "");
    ASSERT_EQ(plan.replacements.size(), 2u);
    EXPECT_EQ(plan.replacements[0].place, StorePlace::Server);
    EXPECT_EQ(plan.replacements[0].file, file_);
    EXPECT_EQ(plan.replacements[1].place, StorePlace::LocalFile);
    EXPECT_EQ(plan.replacements[1].file, std::nullopt);
    EXPECT_EQ(plan.setKeys, (std::vector<std::pair<std::string, std::string>>{{"A", "b=c"}, {"B", ""}}));
    EXPECT_EQ(plan.unsetKeys, std::vector<std::string>{"C"});
}

TEST_F(Plan, KnowsThePlaceOfEachStore) {
    const std::vector<std::pair<std::string, StorePlace>> places = {
        {"TftpOverrideConfigStore", StorePlace::Override},        {"cachedTFTPConfigStore.xml", StorePlace::CachedCopy},
        {"UrlProvisioningConfigStore", StorePlace::Provisioning}, {"BootstrapConfigStore", StorePlace::Bootstrap},
        {"corvid-config-defaults.xml", StorePlace::Defaults},
    };
    for (const auto& [store, place] : places) {
        invocation_.without = {store};
        EXPECT_EQ(readPlan(invocation_).replacements.at(0).place, place) << store;
    }
}

TEST_F(Plan, NamesTheStoresWhereOneIsUnknown) {
    for (const std::string store : {"Nowhere", "InMemoryConfigStore"}) {
        invocation_.without = {store};
        EXPECT_EQ(problem(), "--without '" + store +
                                 "': expected a store that has a file: TftpOverrideConfigStore, LocalFileConfigStore, "
                                 "TFTPConfigStore, a cached copy such as cachedTFTPConfigStore.xml, "
                                 "UrlProvisioningConfigStore, BootstrapConfigStore or corvid-config-defaults.xml");
    }
}

TEST_F(Plan, RefusesWordsWithoutTheirParts) {
    for (const std::string word : {"LocalFileConfigStore", "=file", "LocalFileConfigStore="}) {
        invocation_.replaced = {word};
        EXPECT_EQ(problem(), "--replace '" + word + "': expected STORE=FILE");
    }
    invocation_.replaced.clear();
    for (const std::string word : {"Key", "=value"}) {
        invocation_.setKeys = {word};
        EXPECT_EQ(problem(), "--set '" + word + "': expected KEY=VALUE");
    }
}

TEST_F(Plan, RefusesAFileThatCannotBeRead) {
    invocation_.replaced = {"LocalFileConfigStore=" + directory_.path("no")};
    EXPECT_EQ(problem(),
              "--replace 'LocalFileConfigStore=" + directory_.path("no") + "': expected a file that can be read");
    ASSERT_EQ(mkfifo(directory_.path("pipe").c_str(), 0600), 0);
    invocation_.replaced = {"LocalFileConfigStore=" + directory_.path()};
    EXPECT_THAT(problem(), HasSubstr("expected a file that can be read"));
    invocation_.replaced = {"LocalFileConfigStore=" + directory_.path("pipe")};
    EXPECT_THAT(problem(), HasSubstr("expected a regular file"));
}

TEST_F(Plan, RefusesAStoreThatIsNamedTwice) {
    invocation_.replaced = {"LocalFileConfigStore=" + file_};
    invocation_.without = {"localfileconfigstore"};
    EXPECT_EQ(problem(), "--without 'localfileconfigstore': the store is named already by --replace "
                         "'LocalFileConfigStore=" +
                             file_ + "'");
}

TEST_F(Plan, RefusesToLeaveOutWhatIsNotThereYet) {
    invocation_.without = {"TFTPConfigStore"};
    EXPECT_EQ(problem(), "--without 'TFTPConfigStore': the server's file is in no chain before it is fetched; its copy "
                         "on disk is cachedTFTPConfigStore.xml");
}

TEST_F(Plan, RefusesAKeyThatIsSetAndErased) {
    invocation_.setKeys = {"Key=1"};
    invocation_.unsetKeys = {"KEY"};
    EXPECT_EQ(problem(), "--unset 'KEY': expected another key than --set names");
    invocation_.unsetKeys = {""};
    EXPECT_EQ(problem(), "--unset '': expected the name of a key");
}

TEST_F(Plan, TakesAFileThatIsValidInItsPlace) {
    const std::string local = directory_.write("local.xml", localFile({{"A", "1"}}));
    EXPECT_EQ(problemIn("TFTPConfigStore", StorePlace::Server, file_), "");
    EXPECT_EQ(problemIn("LocalFileConfigStore", StorePlace::LocalFile, local), "");
    EXPECT_EQ(problemIn("BootstrapConfigStore", StorePlace::Bootstrap, file_), "");
}

TEST_F(Plan, TellsWhatTheModuleWouldMakeOfAFileThatIsNot) {
    const std::string broken = directory_.write("broken.xml", "<c>");
    EXPECT_THAT(
        problemIn("LocalFileConfigStore", StorePlace::LocalFile, broken),
        testing::AllOf(HasSubstr("--replace 'LocalFileConfigStore=" + broken + "': not valid in this place: line "),
                       HasSubstr("; the module would set it aside as corvidLocalConfig-backup.xml and start "
                                 "without the user's values")));
    EXPECT_THAT(problemIn("TFTPConfigStore", StorePlace::Server, broken),
                HasSubstr("; the module would drop the server's values, and keep an empty copy for the next start"));
    EXPECT_THAT(problemIn("TftpOverrideConfigStore", StorePlace::Override, broken),
                HasSubstr("; the module would pass it over, and the store would be empty"));
    EXPECT_THAT(problemIn("corvid-config-defaults.xml", StorePlace::Defaults, broken),
                HasSubstr("; the module would try to set it aside as corvid-config-defaults-backup.xml"));
}

TEST_F(Plan, RefusesADocumentOfTheOtherForm) {
    EXPECT_THAT(problemIn("LocalFileConfigStore", StorePlace::LocalFile, file_),
                HasSubstr("no key is read from it: a file of this name is read as a local file"));
    const std::string local = directory_.write("local.xml", localFile({{"A", "1"}}));
    EXPECT_THAT(problemIn("TFTPConfigStore", StorePlace::Server, local), HasSubstr("no key is read from it"));
}

TEST_F(Plan, RefusesAServersFileThatNoDownloadBrings) {
    const std::string huge = directory_.write("huge.xml", "<c/>");
    std::filesystem::resize_file(huge, 16 * 1024 * 1024 + 1);
    EXPECT_EQ(problemIn("TFTPConfigStore", StorePlace::Server, huge),
              "--replace 'TFTPConfigStore=" + huge + "': the file is too large: a download ends after 16 MiB");
}
