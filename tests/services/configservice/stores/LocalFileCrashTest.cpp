#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <random>

#include "StoreTestSupport.h"
#include "stores/LocalFileConfigStore.h"

namespace storetests {
namespace {

constexpr int keysPerState = 40;

/// One state: every key holds the round's number, and a text whose length depends on it.
void storeState(LocalFileConfigStore& store, int round) {
    for (int number = 0; number < keysPerState; ++number) {
        store.storeValue(L"key" + std::to_wstring(number), std::to_wstring(round));
    }
    store.storeValue(L"padding", std::wstring(static_cast<std::size_t>(round % 7) * 3000, L'p'));
}

/// The round of a file that holds one whole state; -1 for any other.
int roundOf(LocalFileConfigStore& store) {
    const std::wstring first = valueOf(store, L"key0");
    for (int number = 0; number < keysPerState; ++number) {
        if (valueOf(store, L"key" + std::to_wstring(number)) != first) {
            return -1;
        }
    }
    const int round = std::stoi(first);
    const bool padded = valueOf(store, L"padding").size() == static_cast<std::size_t>(round % 7) * 3000;
    return padded ? round : -1;
}

class LocalFileCrash : public StoreTest {
protected:
    LocalFileConfigStore open() const { return {"L", 20, world_.directory().path(), "local.xml", false, false}; }

    /// Persists round after round and acknowledges each one, until it is killed.
    [[noreturn]] void persistForEver(int acknowledgements) const {
        LocalFileConfigStore store = open();
        for (int round = 0;; ++round) {
            storeState(store, round);
            store.persistValues();
            if (::write(acknowledgements, &round, sizeof round) != sizeof round) {
                ::_exit(1);
            }
        }
    }

    /// Lets a child persist the given number of rounds and kills it. @return the last acknowledged round.
    int persistAndKill(int rounds, std::mt19937& random) const {
        int pipe[2];
        EXPECT_EQ(::pipe(pipe), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            ::close(pipe[0]);
            persistForEver(pipe[1]);
        }
        ::close(pipe[1]);
        int acknowledged = -1;
        while (acknowledged + 1 < rounds && ::read(pipe[0], &acknowledged, sizeof acknowledged) > 0) {
        }
        // Work of random length lets the kill fall at different places of the next write.
        random.discard(std::uniform_int_distribution(0u, 200000u)(random));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        for (int late = 0; ::read(pipe[0], &late, sizeof late) == sizeof late;) {
            acknowledged = late;
        }
        ::close(pipe[0]);
        return acknowledged;
    }
};

TEST_F(LocalFileCrash, LeavesOneWholeAcknowledgedOrNewerState) {
    const unsigned seed = std::random_device()();
    RecordProperty("seed", std::to_string(seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int crash = 0; crash < 30; ++crash) {
        std::filesystem::remove(path("local.xml"));
        const int rounds = std::uniform_int_distribution(1, 6)(random);
        const int acknowledged = persistAndKill(rounds, random);
        LocalFileConfigStore store = open();
        EXPECT_FALSE(world_.directory().exists("local-backup.xml")) << "the file did not parse";
        EXPECT_GE(roundOf(store), acknowledged);
        EXPECT_GE(acknowledged + 1, rounds);
    }
}

}  // namespace
}  // namespace storetests
