#include <filesystem>
#include <random>

#include "FaultSupport.h"
#include "stores/LocalFileConfigStore.h"

namespace storetests {
namespace {

class LocalFileCrash : public StoreTest {
protected:
    LocalFileConfigStore open() const { return {"L", 20, world_.directory().path(), "local.xml", false, false}; }
};

TEST_F(LocalFileCrash, LeavesOneWholeAcknowledgedOrNewerState) {
    const unsigned seed = std::random_device()();
    RecordProperty("seed", std::to_string(seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int crash = 0; crash < 30; ++crash) {
        std::filesystem::remove(path("local.xml"));
        const int rounds = std::uniform_int_distribution(1, 6)(random);
        LocalFileConfigStore written = open();
        const auto persist = [&written](int round) {
            storeState(written, round);
            written.persistValues();
        };
        const int acknowledged = persistAndKill(persist, rounds, random);
        LocalFileConfigStore store = open();
        EXPECT_FALSE(world_.directory().exists("local-backup.xml")) << "the file did not parse";
        EXPECT_GE(roundOf(store), acknowledged);
        EXPECT_GE(acknowledged + 1, rounds);
    }
}

}  // namespace
}  // namespace storetests
