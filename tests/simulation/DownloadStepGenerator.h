#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "DownloadStep.h"

namespace simulation {

/// Random steps for the store of the server's file, over few addresses, files and keys. The same seed gives the same
/// steps on every machine.
class DownloadStepGenerator {
public:
    explicit DownloadStepGenerator(std::uint64_t seed);

    /// What the store is made with.
    const ServerDetails& start() const { return start_; }

    std::vector<DownloadStep> sequence(std::size_t length);

    /// Every key that a document or a step stores.
    static const std::vector<std::wstring>& keys();

private:
    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(engine_() % bound); }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    template <typename Items>
    const auto& anyOf(const Items& items) {
        return items[below(items.size())];
    }

    DownloadStep next();
    DownloadStepKind anyKind();
    DownloadStep make(DownloadStepKind kind);
    DownloadStep announcement();
    DownloadStep completion();
    DownloadStep observation();
    void changeDetails();

    std::mt19937_64 engine_;
    ServerDetails start_;
    ServerDetails details_;  ///< as the chain holds them
};

}  // namespace simulation
