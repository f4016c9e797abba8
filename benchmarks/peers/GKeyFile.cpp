#include <glib.h>

#include "fakes/TemporaryDirectory.h"
#include "support/Documents.h"
#include "support/Harness.h"
#include "support/Memory.h"
#include "support/Replacement.h"
#include "support/Subjects.h"

namespace bench {
namespace {

struct Free {
    void operator()(char* text) const { g_free(text); }
    void operator()(char** texts) const { g_strfreev(texts); }
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using Text = std::unique_ptr<char, Free>;
using File = std::unique_ptr<GKeyFile, Free>;

File load(const std::string& path) {
    File file(g_key_file_new());
    g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, nullptr);
    return file;
}

File makeFile(const Entries& entries) {
    File file(g_key_file_new());
    const std::string text = iniDocument(entries);
    g_key_file_load_from_data(file.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr);
    return file;
}

/// A GKeyFile for each layer, asked in turn by hand.
class GKeyFileChain {
public:
    using Key = std::string;

    explicit GKeyFileChain(const Layers& layers) {
        for (const Layer& layer : layers) {
            layers_.push_back({makeFile(layer.entries), std::to_string(layers_.size()), layer.readOnly});
        }
    }

    static Key keyOf(const std::string& key) { return key; }

    bool lookUp(const Key& key) {
        for (const One& layer : layers_) {
            if (Text found = find(layer, key)) {
                value_ = std::move(found);
                return true;
            }
        }
        return false;
    }

    bool answer(const Key& key) {
        bool hit = false;
        for (const One& layer : layers_) {
            if (hit && !layer.readOnly) {
                continue;
            }
            Text found = find(layer, key);
            if (found == nullptr) {
                continue;
            }
            if (layer.readOnly) {
                originalStore_ = layer.name;
                original_ = hit ? std::move(found) : Text(g_strdup(found.get()));
            }
            if (!hit) {
                hit = true;
                store_ = layer.name;
                value_ = std::move(found);
            }
            if (layer.readOnly) {
                break;
            }
        }
        return hit;
    }

    void set(const Key& key, bool second) {
        g_key_file_set_string(layers_[USER_LAYER].file.get(), "g", key.c_str(),
                              second ? "value-second" : "value--first");
        lookUp(key);
        ++told_;
    }

    std::size_t told() const { return told_; }

private:
    struct One {
        File file;
        std::string name;
        bool readOnly;
    };

    /// Asks first whether there is one: the getter words an error for each miss, wanted or not.
    static Text find(const One& layer, const Key& key) {
        if (g_key_file_has_key(layer.file.get(), "g", key.c_str(), nullptr) == FALSE) {
            return nullptr;
        }
        return Text(g_key_file_get_string(layer.file.get(), "g", key.c_str(), nullptr));
    }

    std::vector<One> layers_;
    Text value_;
    Text original_;
    std::string store_;
    std::string originalStore_;
    std::size_t told_ = 0;
};

/// A layer whose other version is there, both of them read.
class TwoFiles {
public:
    explicit TwoFiles(std::size_t count)
        : first_(makeFile(makeEntries(50, count))), second_(makeFile(otherVersion(makeEntries(50, count)))) {}

    std::size_t take(bool second) {
        GKeyFile* const before = second ? first_.get() : second_.get();
        GKeyFile* const after = second ? second_.get() : first_.get();
        return countGone(before, after) + countNew(before, after);
    }

private:
    using Texts = std::unique_ptr<char*, Free>;

    static Texts keysOf(GKeyFile* file) { return Texts(g_key_file_get_keys(file, "g", nullptr, nullptr)); }

    static Text valueOf(GKeyFile* file, const char* key) {
        return Text(g_key_file_get_string(file, "g", key, nullptr));
    }

    static std::size_t countGone(GKeyFile* before, GKeyFile* after) {
        const Texts keys = keysOf(before);
        std::size_t gone = 0;
        for (char** key = keys.get(); *key != nullptr; ++key) {
            gone += g_key_file_has_key(after, "g", *key, nullptr) == FALSE ? 1U : 0U;
        }
        return gone;
    }

    static std::size_t countNew(GKeyFile* before, GKeyFile* after) {
        const Texts keys = keysOf(after);
        std::size_t found = 0;
        for (char** key = keys.get(); *key != nullptr; ++key) {
            found += g_strcmp0(valueOf(before, *key).get(), valueOf(after, *key).get()) != 0 ? 1U : 0U;
        }
        return found;
    }

    const File first_;
    const File second_;
};

void addLoad(std::size_t count) {
    add(loadRow(count), "GKeyFile (INI)", [count](benchmark::State& state) {
        const std::string& path = iniFile(count);
        for (auto _ : state) {
            benchmark::DoNotOptimize(load(path));
        }
    })->Unit(benchmark::kMillisecond);
}

void addSave(std::size_t count) {
    add(saveRow(count), "GKeyFile (INI)", [count](benchmark::State& state) {
        const fakes::TemporaryDirectory directory;
        const std::string path = directory.path("file.ini");
        const File file = load(iniFile(count));
        for (auto _ : state) {
            g_key_file_save_to_file(file.get(), path.c_str(), nullptr);
        }
    })->Unit(benchmark::kMillisecond);
}

}  // namespace

void addGKeyFile(const Scale& scale) {
    addLookups<GKeyFileChain>(scale, "GKeyFile");
    addAnswer<GKeyFileChain>(scale, "GKeyFile");
    addSet<GKeyFileChain>(scale, "GKeyFile (no event)");
    addLoad(scale.small);
    addLoad(scale.large);
    addSave(scale.small);
    // Never freed: GLib would keep the small pieces for the next one, which would then seem to need less.
    addKeyMemory(scale, "GKeyFile", [](const Entries& entries) { return makeFile(entries).release(); });
    addReplacement<TwoFiles>(scale.small, "GKeyFile (in memory)");
    addReplacement<TwoFiles>(scale.large, "GKeyFile (in memory)");
}

}  // namespace bench
