#include <algorithm>
#include <string>
#include <vector>

#include "fakes/TemporaryDirectory.h"
#include "impl/unified/TaskDispatcherImpl.h"
#include "stores/LocalFileConfigStore.h"
#include "support/Documents.h"
#include "support/Harness.h"
#include "support/ModuleHost.h"
#include "support/Subjects.h"
#include "xml/XmlConfigParser.h"

namespace bench {
namespace {

void addLoad(std::size_t count) {
    add(loadRow(count), "corvid", [count](benchmark::State& state) {
        const std::string& path = xmlFile(count);
        for (auto _ : state) {
            ConfigMap values;
            SensitiveKeySet marks;
            XmlConfigParser::readFromFile(path, values, marks);
            if (values.size() != count) {
                state.SkipWithError("not all entries were read");
            }
        }
    })->Unit(benchmark::kMillisecond);
}

void addPersist(std::size_t count) {
    add(saveRow(count), "corvid", [count](benchmark::State& state) {
        const fakes::TemporaryDirectory directory;
        LocalFileConfigStore store("Store", 20, directory.path(), "file.xml", true, false);
        for (const auto& [key, value] : makeEntries(50, count)) {
            store.storeValue(widen(key), widen(value));
        }
        std::size_t version = 0;
        for (auto _ : state) {
            store.storeValue(L"version", std::to_wstring(++version));
            store.persistValues();
        }
    })->Unit(benchmark::kMillisecond);
}

/// Many changes at once, the user's file of as many entries: until all is on the disk.
void addBurst(std::size_t entries, std::size_t changes) {
    add("burst of " + std::to_string(changes) + " changes, " + std::to_string(entries) + " entries", "corvid",
        [entries, changes](benchmark::State& state) {
            Layers layers = makeLayers(10);
            layers[USER_LAYER].entries = makeEntries(50, entries);
            const Profile profile(layers);
            profile.enter();
            const auto tasks = std::make_shared<TaskDispatcherImpl>();
            ModuleHost host(tasks);
            const auto service = host.service();
            std::size_t version = 0;
            for (auto _ : state) {
                for (std::size_t index = 0; index < changes; ++index) {
                    service->setConfig(widen(makeKey(50, index % entries)), std::to_wstring(++version));
                }
                tasks->drain();
            }
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

bool hasAll(const ModuleHost& host, const std::vector<std::wstring>& keys) {
    std::wstring value;
    return std::all_of(keys.begin(), keys.end(),
                       [&](const std::wstring& key) { return host.manager().getValue(key, value, false); });
}

void addStart(std::size_t count) {
    add("put in, start, first value, " + std::to_string(count) + " keys in each file", "corvid",
        [count](benchmark::State& state) {
            const WholeProfile profile(count);
            profile.enter();
            const auto keys = WholeProfile::keyOfEachFile();
            for (auto _ : state) {
                auto host = std::make_unique<ModuleHost>(std::make_shared<NoTaskDispatcher>());
                benchmark::DoNotOptimize(host->service()->getConfig(keys.front())->getValue());
                state.PauseTiming();
                if (!hasAll(*host, keys)) {
                    state.SkipWithError("not all files were read");
                }
                host.reset();
                state.ResumeTiming();
            }
        })
        ->Unit(benchmark::kMillisecond);
}

}  // namespace

void addModuleFiles(const Scale& scale) {
    addLoad(scale.small);
    addLoad(scale.large);
    addPersist(scale.small);
    addBurst(scale.small, scale.burst);
    addStart(scale.keys);
}

}  // namespace bench
