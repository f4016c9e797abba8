#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "support/Layers.h"

namespace bench {

/// How much is measured: everything, or as little as shows that each benchmark still runs.
struct Scale {
    std::vector<std::size_t> lookupKeys;  ///< keys in a layer, in the rows of lookups
    std::size_t keys;                     ///< keys in a layer, in the other rows of the chain
    std::size_t small;                    ///< entries of the smaller document
    std::size_t large;                    ///< of the larger one, and live values
    std::size_t burst;                    ///< changes in a burst

    static Scale full() { return {{100, 1000, 10000}, 1000, 10000, 100000, 10000}; }
    static Scale once() { return {{10}, 20, 50, 100, 20}; }
};

using Body = std::function<void(benchmark::State&)>;

/// Registers "ROW/SUBJECT". Benchmarks of one row do the same work and are compared.
inline benchmark::internal::Benchmark* add(const std::string& row, const std::string& subject, Body body) {
    return benchmark::RegisterBenchmark((row + "/" + subject).c_str(), std::move(body));
}

/// One object for each number of keys, made at its first use, of layers or of the number alone, and kept: benchmarks
/// are called many times over. One thread at a time.
template <typename Subject>
Subject& kept(std::size_t keys) {
    static std::map<std::size_t, std::unique_ptr<Subject>> all;
    std::unique_ptr<Subject>& one = all[keys];
    if (one == nullptr) {
        if constexpr (std::is_constructible_v<Subject, const Layers&>) {
            one = std::make_unique<Subject>(makeLayers(keys));
        } else {
            one = std::make_unique<Subject>(keys);
        }
    }
    return *one;
}

/// Asks for the texts of a sample, one after the other.
template <typename Keys, typename Ask>
void askInTurn(benchmark::State& state, const Keys& keys, const Ask& ask) {
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ask(keys[next]));
        next = next + 1 == keys.size() ? 0 : next + 1;
    }
}

/// Rows "lookup": a subject has `Key`, `static Key keyOf(const std::string&)`, and `bool lookUp(const Key&)`, which
/// copies the value out.
template <typename Subject>
void addLookups(const Scale& scale, const std::string& subject) {
    for (const std::size_t keys : scale.lookupKeys) {
        for (const Place place : EVERY_PLACE) {
            add("lookup, " + std::to_string(keys) + " keys a layer, " + nameOf(place), subject,
                [keys, place](benchmark::State& state) {
                    auto& chain = kept<Subject>(keys);
                    const auto sample =
                        convertAll<typename Subject::Key>(sampleKeys(makeLayers(keys), place), Subject::keyOf);
                    if (chain.lookUp(sample.front()) != (place != Place::Miss)) {
                        state.SkipWithError("the lookup gave a wrong answer");
                    }
                    askInTurn(state, sample, [&](const auto& key) { return chain.lookUp(key); });
                });
        }
    }
}

/// Row "whole answer": the subject has `bool answer(const Key&)` besides, which finds the value, the administrator's
/// value and the stores of both.
template <typename Subject>
void addAnswer(const Scale& scale, const std::string& subject) {
    const std::size_t keys = scale.keys;
    add("whole answer, " + std::to_string(keys) + " keys a layer", subject, [keys](benchmark::State& state) {
        auto& chain = kept<Subject>(keys);
        const auto sample = convertAll<typename Subject::Key>(sharedKeys(makeLayers(keys)), Subject::keyOf);
        askInTurn(state, sample, [&](const auto& key) { return chain.answer(key); });
    });
}

/// Row "set": the subject has `void set(const Key&, bool)`, which gives the user's key one of two values, works out
/// what is in force then, and tells one observer; and `std::size_t told()`, how often it was told. One that has work
/// left behind then ends it in `void settle()`, which is not counted.
template <typename Subject>
void addSet(const Scale& scale, const std::string& subject, const std::string& row = "set, one observer told") {
    const std::size_t keys = scale.keys;
    add(row, subject, [keys](benchmark::State& state) {
        auto& chain = kept<Subject>(keys);
        const auto key = Subject::keyOf(makeLayers(keys)[USER_LAYER].entries.front().first);
        bool second = false;
        const std::size_t before = chain.told();
        for (auto _ : state) {
            second = !second;
            chain.set(key, second);
        }
        if constexpr (requires { chain.settle(); }) {
            chain.settle();
        }
        if (static_cast<benchmark::IterationCount>(chain.told() - before) + 1 < state.iterations()) {
            state.SkipWithError("the observer was not told");
        }
    });
}

}  // namespace bench
