#include <gio/gio.h>

#include <cstdlib>
#define G_SETTINGS_ENABLE_BACKEND
#include <gio/gsettingsbackend.h>

#include "fakes/TemporaryDirectory.h"
#include "support/Harness.h"
#include "support/Subjects.h"

namespace bench {
namespace {

/// One GSettings object over values in memory: it has no layers, and tells of changes.
class GSettingsValue {
public:
    GSettingsValue() {
        directory_.write("bench.gschema.xml",
                         "<schemalist><schema id='bench' path='/bench/'>"
                         "<key name='key' type='s'><default>''</default></key></schema></schemalist>");
        std::string command = "glib-compile-schemas ";
        command += directory_.path();
        if (std::system(command.c_str()) != 0) {
            return;
        }
        GSettingsSchemaSource* const source =
            g_settings_schema_source_new_from_directory(directory_.path().c_str(), nullptr, FALSE, nullptr);
        GSettingsSchema* const schema = g_settings_schema_source_lookup(source, "bench", FALSE);
        GSettingsBackend* const backend = g_memory_settings_backend_new();
        settings_ = g_settings_new_full(schema, backend, nullptr);
        g_signal_connect(settings_, "changed::key",
                         G_CALLBACK(+[](GSettings*, const char*, GSettingsValue* self) { ++self->told_; }), this);
        g_object_unref(backend);
        g_settings_schema_unref(schema);
        g_settings_schema_source_unref(source);
    }

    ~GSettingsValue() {
        if (settings_ != nullptr) {
            g_object_unref(settings_);
        }
    }

    GSettingsValue(const GSettingsValue&) = delete;
    GSettingsValue& operator=(const GSettingsValue&) = delete;

    bool works() const { return settings_ != nullptr; }
    std::size_t told() const { return told_; }

    void read() {
        g_free(value_);
        value_ = g_settings_get_string(settings_, "key");
    }

    void set(bool second) {
        const std::size_t before = told_;
        g_settings_set_string(settings_, "key", second ? "value-second" : "value--first");
        // The signal comes at once on the thread that owns the main context, and otherwise through that.
        while (told_ == before) {
            g_main_context_iteration(nullptr, FALSE);
        }
        read();
    }

private:
    const fakes::TemporaryDirectory directory_;
    GSettings* settings_ = nullptr;
    char* value_ = nullptr;
    std::size_t told_ = 0;
};

}  // namespace

void addGSettings(const Scale& scale) {
    add("set, one observer told", "GSettings (one layer)", [](benchmark::State& state) {
        GSettingsValue value;
        bool second = false;
        if (!value.works()) {
            state.SkipWithError("glib-compile-schemas is missing");
        }
        for (auto _ : state) {
            second = !second;
            value.set(second);
        }
    });
    add("live read, " + std::to_string(scale.keys) + " live values", "GSettings (one layer)",
        [](benchmark::State& state) {
            GSettingsValue value;
            if (!value.works()) {
                state.SkipWithError("glib-compile-schemas is missing");
            }
            for (auto _ : state) {
                value.read();
            }
        });
}

}  // namespace bench
