#include "comparing/Operand.h"

#include <unistd.h>

#include <filesystem>

#include "comparing/StoreNames.h"
#include "fakes/TemporaryDirectory.h"

using namespace corvidctl;

namespace {

using OperandKind = Operand::Kind;

/// Words are looked up in a folder of the test's own.
class OperandOf : public ::testing::Test {
protected:
    OperandOf() : former_(std::filesystem::current_path()) { std::filesystem::current_path(directory_.path()); }
    ~OperandOf() override { std::filesystem::current_path(former_); }

    static void expect(const std::string& word, OperandKind kind, const std::string& place) {
        const Operand operand = readOperand(word);
        EXPECT_EQ(operand.problem, "") << word;
        EXPECT_EQ(operand.kind, kind) << word;
        EXPECT_EQ(operand.place, place) << word;
    }

    static void expectProblem(const std::string& word, const std::string& problem) {
        EXPECT_EQ(readOperand(word).problem, problem);
    }

    const fakes::TemporaryDirectory directory_;

private:
    const std::filesystem::path former_;
};

}  // namespace

TEST_F(OperandOf, AWordThatIsNoPathIsAStore) {
    expect("LocalFileConfigStore", OperandKind::Store, "LocalFileConfigStore");
    expect("cachedOther.xml", OperandKind::Store, "cachedOther.xml");
}

TEST_F(OperandOf, APathIsWhatLiesThere) {
    directory_.write("folder/file.xml", "<c/>");
    expect("folder", OperandKind::Directory, "folder");
    expect("folder/file.xml", OperandKind::File, "folder/file.xml");
}

TEST_F(OperandOf, LiveIsTheConfigurationEvenIfThereIsSuchAFile) {
    directory_.write("live", "<c/>");
    expect("live", OperandKind::Live, "");
    expect("file:live", OperandKind::File, "live");
    expect("./live", OperandKind::File, "./live");
}

TEST_F(OperandOf, APrefixSaysWhatAWordIs) {
    directory_.write("BootstrapConfigStore", "a: b\n");
    expect("store:BootstrapConfigStore", OperandKind::Store, "BootstrapConfigStore");
    expect("file:BootstrapConfigStore", OperandKind::File, "BootstrapConfigStore");
    std::filesystem::create_directory(directory_.path("store:x"));
    expect("dir:store:x", OperandKind::Directory, "store:x");
}

TEST_F(OperandOf, AStoreNamedLikeAPathIsAProblem) {
    directory_.write("corvid-config-defaults.xml", "<Corvid/>");
    expectProblem("corvid-config-defaults.xml",
                  "'corvid-config-defaults.xml' is a store and a path: expected store:corvid-config-defaults.xml or "
                  "file:corvid-config-defaults.xml");
    std::filesystem::create_directory(directory_.path("inmemoryconfigstore"));
    expectProblem("inmemoryconfigstore",
                  "'inmemoryconfigstore' is a store and a path: expected store:inmemoryconfigstore or "
                  "dir:inmemoryconfigstore");
}

TEST_F(OperandOf, ANameThatNoChainKnowsIsAProblem) {
    const std::string expected = ": expected live, a path, or the name of a store, which corvidctl stores lists";
    expectProblem("AnyStore", "'AnyStore'" + expected);
    expectProblem("store:live", "'store:live'" + expected);
}

TEST_F(OperandOf, WhatIsNotThereIsAProblem) {
    expectProblem("file:no.xml", "'file:no.xml': expected a file that can be read");
    expectProblem("dir:no", "'dir:no': expected a configuration directory that can be read");
    directory_.write("file.xml", "<c/>");
    expectProblem("dir:file.xml", "'dir:file.xml': expected a configuration directory that can be read");
    expectProblem("file:.", "'file:.': expected a file that can be read");
    std::filesystem::create_symlink("nowhere", directory_.path("link"));
    expectProblem("link", "'link': expected a file that can be read");
}

TEST(StoreNames, KnowTheStoresAndTheirCopies) {
    EXPECT_TRUE(isNameOfStore("tftpconfigstore"));
    EXPECT_TRUE(isNameOfStore("cachedTFTPConfigStore.xml"));
    EXPECT_FALSE(isNameOfStore("PresenceConfigStore"));
    EXPECT_FALSE(isNameOfCachedCopy("cached.xml"));
    EXPECT_FALSE(isNameOfCachedCopy("cached/../x.xml"));
    EXPECT_FALSE(isNameOfCachedCopy("cachedUrlProvisioningConfigStore.xml"));
}
