#include "Tracer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/openat2.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "TracedDeeds.h"
#include "fakes/TemporaryDirectory.h"

namespace torture {
namespace {

bool canOpen(const char* path, int folder = AT_FDCWD) {
    const int file = openat(folder, path, O_RDONLY | O_CLOEXEC);
    return file >= 0 && close(file) == 0;
}

/// Folders "watched" and "watched-not", each with a file "a", and a file "a" above them.
class Tracer : public testing::Test {
protected:
    void SetUp() override {
        if (!runTraced("/", [] { return 0; }, {}).allowed) {
            GTEST_SKIP() << tracingIsNotAllowed;
        }
        for (const char* const name : {"a", "watched/a", "watched/in/b", "watched-not/a"}) {
            directory_.write(name, "text");
        }
    }

    /// Has a process that works in a folder do something. @return its calls on the watched folder, with their paths
    /// below the directory of the test.
    std::vector<std::string> seen(const std::string& from, const std::function<bool()>& body) {
        const std::string working = directory_.path(from);
        const Traced traced = runTraced(watched_,
                                        [&] {
                                            const bool isThere = chdir(working.c_str()) == 0;
                                            markBegin();
                                            const bool isDone = body();
                                            markEnd();
                                            return isThere && isDone ? 0 : 1;
                                        },
                                        {});
        EXPECT_EQ(traced.status, 0);
        std::vector<std::string> calls;
        for (const Call& call : traced.calls) {
            if (call.name != "close") {
                calls.push_back(call.name + " " + below(call.path) + (call.target.empty() ? "" : " ") +
                                below(call.target));
            }
        }
        return calls;
    }

    std::string below(const std::string& path) const {
        return isWithin(directory_.path(), path) && path != directory_.path()
                   ? path.substr(directory_.path().size() + 1)
                   : path;
    }

    using Lines = std::vector<std::string>;

    const fakes::TemporaryDirectory directory_;
    const std::string watched_ = directory_.path("watched");
};

TEST_F(Tracer, SeesAPathThatBeginsAtTheFolderOfTheProcess) {
    EXPECT_EQ(seen("watched", [] { return canOpen("a"); }), Lines{"openat watched/a"});
    EXPECT_EQ(seen("watched-not", [] { return canOpen("../watched/./in/../a"); }), Lines{"openat watched/a"});
}

TEST_F(Tracer, SeesAPathThatBeginsAtTheFolderOfADescriptor) {
    const int folder = open(directory_.path("watched/in").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    EXPECT_EQ(seen("watched-not", [folder] { return canOpen("b", folder); }), Lines{"openat watched/in/b"});
    EXPECT_EQ(seen("watched-not", [folder] { return canOpen("../a", folder); }), Lines{"openat watched/a"});
    close(folder);
}

TEST_F(Tracer, SeesNothingBesideTheFolder) {
    EXPECT_EQ(seen("watched",
                   [this] {
                       return canOpen("../a") && canOpen("../watched-not/a") &&
                              canOpen(directory_.path("watched-not/a").c_str()) &&
                              canOpen(directory_.path("watched/../a").c_str());
                   }),
              Lines{});
}

TEST_F(Tracer, SeesLinksRenamesAndModesByEveryName) {
    EXPECT_EQ(seen("watched", [] { return linkat(AT_FDCWD, "a", AT_FDCWD, "../c", 0) == 0; }),
              Lines{"linkat watched/a c"});
    EXPECT_EQ(seen("watched-not", [] { return rename("a", "../watched/d") == 0; }),
              Lines{"rename watched-not/a watched/d"});
    const Lines modes = seen("watched", [] { return fchmodat(AT_FDCWD, "a", 0600, AT_SYMLINK_NOFOLLOW) == 0; });
    ASSERT_FALSE(modes.empty());
    EXPECT_TRUE(std::all_of(modes.begin(), modes.end(), [](auto& line) { return line.ends_with(" watched/a"); }));
    EXPECT_NE(modes.back().find("chmod"), std::string::npos);
    EXPECT_EQ(seen("watched", [] { return fchmodat(AT_FDCWD, "a", 0600, 0) == 0; }), Lines{"fchmodat watched/a"});
}

TEST_F(Tracer, SeesCallsThatChangeAFileWithoutAWrite) {
    const auto opened = [](const char* path) { return open(path, O_RDWR | O_CLOEXEC); };
    EXPECT_EQ(seen("watched", [] { return truncate("a", 2) == 0; }), Lines{"truncate watched/a"});
    EXPECT_EQ(seen("watched", [] { return utimensat(AT_FDCWD, "a", nullptr, 0) == 0; }), Lines{"utimensat watched/a"});
    EXPECT_EQ(seen("watched-not", [] { return symlinkat("a", AT_FDCWD, "../watched/l") == 0; }),
              Lines{"symlinkat  watched/l"});
    EXPECT_EQ(
        seen("watched-not", [] { return renameat2(AT_FDCWD, "../watched/l", AT_FDCWD, "m", RENAME_NOREPLACE) <= 0; }),
        Lines{"renameat2 watched/l watched-not/m"});
    const int from = opened(directory_.path("watched-not/a").c_str());
    const int to = opened(directory_.path("watched/a").c_str());
    EXPECT_EQ(seen("", [&] { return sendfile(to, from, nullptr, 1) == 1; }), Lines{"sendfile watched/a watched-not/a"});
    EXPECT_EQ(seen("", [&] { return copy_file_range(from, nullptr, to, nullptr, 1, 0) == 1; }),
              Lines{"copy_file_range watched-not/a watched/a"});
    EXPECT_EQ(seen("", [&] { return fallocate(to, 0, 0, 8) == 0; }), Lines{"fallocate watched/a"});
    EXPECT_EQ(seen("",
                   [&] {
                       void* const mapped = mmap(nullptr, 1, PROT_WRITE, MAP_SHARED, to, 0);
                       return mapped != MAP_FAILED && munmap(mapped, 1) == 0;
                   }),
              Lines{"mmap watched/a"});
    close(from);
    close(to);
}

TEST_F(Tracer, SeesCallsByTheirNewNames) {
    EXPECT_EQ(seen("watched",
                   [] {
                       const open_how how{.flags = O_RDONLY | O_CLOEXEC, .mode = 0, .resolve = 0};
                       const long file = syscall(SYS_openat2, AT_FDCWD, "a", &how, sizeof how);
                       return file >= 0 && close(static_cast<int>(file)) == 0;
                   }),
              Lines{"openat2 watched/a"});
    EXPECT_EQ(seen("watched", [] { return syscall(SYS_faccessat2, AT_FDCWD, "a", R_OK, AT_EACCESS) == 0; }),
              Lines{"faccessat2 watched/a"});
}

TEST_F(Tracer, FailsACallThatNamesItsFileByARelativePath) {
    const std::string working = watched_;
    const auto body = [&] {
        const bool isThere = chdir(working.c_str()) == 0;
        markBegin();
        const int file = open("a", O_RDONLY | O_CLOEXEC);
        const int error = errno;
        markEnd();
        return isThere && file < 0 && error == EIO ? 0 : 1;
    };
    const Traced traced = runTraced(watched_, body, {Fault::Kind::Fail, 0, 1, EIO});
    EXPECT_EQ(traced.status, 0);
    EXPECT_TRUE(traced.faultCame);
}

}  // namespace
}  // namespace torture
