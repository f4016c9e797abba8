// Runs one operation of the module, or of the limit written by hand, a fixed number of times, inside a function that
// callgrind finds by its name, and so makes instructions countable: they stay the same however busy the machine is.
//
//   corvid_instructions              lists the operations
//   corvid_instructions OPERATION    prints how often it ran it
//   corvid_instructions --made-of    prints what the counts depend on besides the module: the compiler, the libraries
//                                    that were found and the processor
#include <gnu/libc-version.h>
#include <libxml/parser.h>
#include <libxml/xmlversion.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "fakes/TemporaryDirectory.h"
#include "limits/HashChain.h"
#include "limits/SingleBuffer.h"
#include "stores/LocalFileConfigStore.h"
#include "support/Documents.h"
#include "support/ModuleChain.h"
#include "support/ModuleHost.h"
#include "support/WholeModule.h"
#include "tessel/LogSink.h"
#include "xml/XmlConfigParser.h"

/// What is counted; everything else is preparation.
extern "C" __attribute__((noinline)) void corvidCounted(const std::function<void(std::size_t)>& work,
                                                        std::size_t times) {
    for (std::size_t turn = 0; turn < times; ++turn) {
        work(turn);
    }
}

namespace {

constexpr std::size_t KEYS_OF_A_LAYER = 1000;
constexpr std::size_t ENTRIES = 10000;
constexpr std::size_t MANY_ENTRIES = 100000;

/// One turn of the operation, by its number.
using Work = std::function<void(std::size_t)>;

struct Operation {
    const char* name;
    std::size_t times;
    std::function<Work()> prepare;
    /// prepare() has done the work once, so that what is made at the first use is not counted; else it is done before.
    bool isWarm = false;
};

/// @tparam Chain the module's or the limit's.
template <typename Chain>
Work prepareLookup(bench::Place place) {
    const bench::Layers layers = bench::makeLayers(KEYS_OF_A_LAYER);
    const auto chain = std::make_shared<Chain>(layers);
    return [chain, keys = bench::convertAll<std::wstring>(bench::sampleKeys(layers, place), bench::widen)](
               std::size_t turn) { chain->lookUp(keys[turn % keys.size()]); };
}

template <typename Chain>
Work prepareAnswer() {
    const bench::Layers layers = bench::makeLayers(KEYS_OF_A_LAYER);
    const auto chain = std::make_shared<Chain>(layers);
    return [chain, keys = bench::convertAll<std::wstring>(bench::sharedKeys(layers), bench::widen)](std::size_t turn) {
        chain->answer(keys[turn % keys.size()]);
    };
}

template <typename Chain>
Work prepareSet() {
    const bench::Layers layers = bench::makeLayers(KEYS_OF_A_LAYER);
    const auto chain = std::make_shared<Chain>(layers);
    const std::wstring key = bench::widen(layers[bench::USER_LAYER].entries.front().first);
    return [chain, key](std::size_t turn) { chain->set(key, turn % 2 == 0); };
}

Work prepareLiveRead() {
    const bench::Layers layers = bench::makeLayers(KEYS_OF_A_LAYER);
    const auto module = std::make_shared<bench::WholeModule>(layers);
    const auto value = module->service().getConfig(bench::widen(layers[0].entries.front().first));
    return [module, value](std::size_t) { value->getValue(); };
}

Work prepareLoad() {
    return [path = bench::xmlFile(ENTRIES)](std::size_t) {
        ConfigMap values;
        SensitiveKeySet marks;
        XmlConfigParser::readFromFile(path, values, marks);
    };
}

Work prepareBareParse() {
    return [path = bench::xmlFile(ENTRIES)](std::size_t) { xmlFreeDoc(xmlReadFile(path.c_str(), nullptr, 0)); };
}

Work prepareSave() {
    const auto directory = std::make_shared<fakes::TemporaryDirectory>();
    const auto store = std::make_shared<LocalFileConfigStore>("Store", 20, directory->path(), "file.xml", true, false);
    for (const auto& [key, value] : bench::makeEntries(50, ENTRIES)) {
        store->storeValue(bench::widen(key), bench::widen(value));
    }
    return [directory, store](std::size_t turn) {
        store->storeValue(L"version", std::to_wstring(turn));
        store->persistValues();
    };
}

Work prepareSaveByHand() {
    const auto directory = std::make_shared<fakes::TemporaryDirectory>();
    std::map<std::wstring, std::wstring> values;
    for (const auto& [key, value] : bench::makeEntries(50, ENTRIES)) {
        values.emplace(bench::widen(key), bench::widen(value));
    }
    return [directory, values](std::size_t) { bench::saveByHand(directory->path("file.xml"), values); };
}

/// A family of keys, and the place of the store that has them.
constexpr std::int32_t FAMILY = 50;

/// A module with a live value, and an observer of it, for each key of the family.
class ObservedModule {
public:
    explicit ObservedModule(std::size_t keys) : module_(bench::makeLayers(10)) {
        for (std::size_t index = 0; index < keys; ++index) {
            const auto value = module_.service().getConfig(bench::widen(bench::makeKey(FAMILY, index)));
            value->getConfigValueNotifiers()->getValueNotifier()->addConnection([this] { ++told_; });
        }
    }

    ConfigStoreManager& manager() { return module_.host().manager(); }

    /// Ends the program unless the change tells so many observers: it would not be the work that is counted.
    template <typename Change>
    void expectTold(std::size_t count, const Change& change) {
        const std::size_t before = told_;
        change();
        if (told_ - before != count) {
            std::fprintf(stderr, "corvid_instructions: %zu observers were told, expected %zu\n", told_ - before, count);
            std::exit(1);
        }
    }

private:
    bench::WholeModule module_;
    std::size_t told_ = 0;
};

std::shared_ptr<ConfigStore> makeStore(const bench::Entries& entries) {
    return bench::makeReadOnlyStore("Many", FAMILY, entries);
}

/// A store joins, each of its keys observed. For one turn.
Work prepareJoin(std::size_t keys) {
    const auto module = std::make_shared<ObservedModule>(keys);
    const Work join = [module, keys, store = makeStore(bench::makeEntries(FAMILY, keys))](std::size_t) {
        module->expectTold(keys, [&] { module->manager().addStore(store); });
    };
    join(0);
    module->manager().removeStoreWithSameName("Many");
    return join;
}

/// A store gives place to its next version, and that to the first one again.
Work prepareReplacement(std::size_t keys) {
    const auto module = std::make_shared<ObservedModule>(keys);
    const bench::Entries entries = bench::makeEntries(FAMILY, keys);
    const std::vector<std::shared_ptr<ConfigStore>> versions = {makeStore(entries),
                                                                makeStore(bench::otherVersion(entries))};
    module->manager().addStore(versions.front());
    const Work replace = [module, keys, versions](std::size_t turn) {
        module->expectTold(bench::changedCount(keys),
                           [&] { module->manager().updateStoreValues(versions[turn % versions.size()]); });
    };
    replace(1);
    return replace;
}

/// The module put in, started and asked for a first value, and taken out again.
Work prepareStart() {
    const auto profile = std::make_shared<bench::WholeProfile>(KEYS_OF_A_LAYER);
    profile->enter();
    return [profile, key = bench::WholeProfile::keyOfEachFile().front()](std::size_t) {
        const bench::ModuleHost host(std::make_shared<bench::NoTaskDispatcher>());
        host.service()->getConfig(key);
    };
}

const std::vector<Operation>& operations() {
    static const std::vector<Operation> all = {
        {"lookup-layer-1", 1000, [] { return prepareLookup<bench::ModuleChain>(bench::Place::First); }},
        {"lookup-layer-8", 1000, [] { return prepareLookup<bench::ModuleChain>(bench::Place::Eighth); }},
        {"lookup-miss", 1000, [] { return prepareLookup<bench::ModuleChain>(bench::Place::Miss); }},
        {"whole-answer", 1000, prepareAnswer<bench::ModuleChain>},
        {"set-and-observer", 1000, prepareSet<bench::WholeModule>},
        {"live-read", 1000, prepareLiveRead},
        {"load", 1, prepareLoad},
        {"save", 1, prepareSave},
        {"start", 1, prepareStart},
        {"join", 1, [] { return prepareJoin(ENTRIES); }, true},
        {"join-100000", 1, [] { return prepareJoin(MANY_ENTRIES); }, true},
        {"replace", 1, [] { return prepareReplacement(ENTRIES); }, true},
        {"replace-100000", 1, [] { return prepareReplacement(MANY_ENTRIES); }, true},
        {"limit-lookup-layer-1", 1000, [] { return prepareLookup<bench::HashChain>(bench::Place::First); }},
        {"limit-lookup-layer-8", 1000, [] { return prepareLookup<bench::HashChain>(bench::Place::Eighth); }},
        {"limit-lookup-miss", 1000, [] { return prepareLookup<bench::HashChain>(bench::Place::Miss); }},
        {"limit-answer", 1000, prepareAnswer<bench::HashChain>},
        {"limit-set", 1000, prepareSet<bench::HashChain>},
        {"limit-load", 1, prepareBareParse},
        {"limit-save", 1, prepareSaveByHand},
    };
    return all;
}

bool hasWideVectors() {
#if defined(__x86_64__)
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}

void printWhatItIsMadeOf() {
    std::printf("compiler %s, libstdc++ %d, C library %s, libxml2 %s, %s\n", __VERSION__, __GLIBCXX__,
                gnu_get_libc_version(), LIBXML_DOTTED_VERSION, hasWideVectors() ? "AVX2" : "no AVX2");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 1) {
        for (const Operation& operation : operations()) {
            std::puts(operation.name);
        }
        return 0;
    }
    if (std::strcmp(argv[1], "--made-of") == 0) {
        printWhatItIsMadeOf();
        return 0;
    }
    tessel::LogControl::setLevel(3);
    for (const Operation& operation : operations()) {
        if (std::strcmp(operation.name, argv[1]) == 0) {
            const Work work = operation.prepare();
            if (!operation.isWarm) {
                work(operation.times);
            }
            corvidCounted(work, operation.times);
            std::printf("%zu\n", operation.times);
            return 0;
        }
    }
    std::fprintf(stderr, "corvid_instructions: no operation named '%s'\n", argv[1]);
    return 2;
}
