#include <QSettings>
#include <QString>
#include <QVariant>

#include "fakes/TemporaryDirectory.h"
#include "support/Documents.h"
#include "support/Harness.h"
#include "support/Memory.h"
#include "support/Replacement.h"
#include "support/Subjects.h"

namespace bench {
namespace {

/// A QSettings over an INI file of its own.
class SettingsOfFile {
public:
    explicit SettingsOfFile(const Entries& entries)
        : settings_(QString::fromStdString(directory_.write("file.ini", iniDocument(entries))), QSettings::IniFormat) {
        settings_.value(QStringLiteral("g/none"));  // reads all of the group
    }

    QSettings& settings() { return settings_; }

    /// Behind the back of the settings.
    void write(const Entries& entries) const { directory_.write("file.ini", iniDocument(entries)); }

private:
    const fakes::TemporaryDirectory directory_;
    QSettings settings_;
};

/// A QSettings over an INI file for each layer, asked in turn by hand.
class QSettingsChain {
public:
    using Key = QString;

    explicit QSettingsChain(const Layers& layers) {
        for (const Layer& layer : layers) {
            layers_.push_back(
                {std::make_unique<SettingsOfFile>(layer.entries), QString::number(layers_.size()), layer.readOnly});
        }
    }

    static Key keyOf(const std::string& key) { return QStringLiteral("g/") + QString::fromStdString(key); }

    bool lookUp(const Key& key) {
        for (const One& layer : layers_) {
            const QVariant found = layer.value(key);
            if (found.isValid()) {
                value_ = found.toString();
                return true;
            }
        }
        return false;
    }

    bool answer(const Key& key) {
        bool found = false;
        for (const One& layer : layers_) {
            if (found && !layer.readOnly) {
                continue;
            }
            const QVariant value = layer.value(key);
            if (!value.isValid()) {
                continue;
            }
            if (!found) {
                value_ = value.toString();
                store_ = layer.name;
                found = true;
            }
            if (layer.readOnly) {
                original_ = value.toString();
                originalStore_ = layer.name;
                break;
            }
        }
        return found;
    }

    void set(const Key& key, bool second) {
        layers_[USER_LAYER].file->settings().setValue(key, second ? QStringLiteral("value-second")
                                                                  : QStringLiteral("value--first"));
        lookUp(key);
        ++told_;
    }

    std::size_t told() const { return told_; }

private:
    struct One {
        std::unique_ptr<SettingsOfFile> file;
        QString name;
        bool readOnly;

        QVariant value(const Key& key) const { return file->settings().value(key); }
    };

    std::vector<One> layers_;
    QString value_;
    QString original_;
    QString store_;
    QString originalStore_;
    std::size_t told_ = 0;
};

/// A layer that is read anew from its file, and compared with what it was.
class RereadSettings {
public:
    explicit RereadSettings(std::size_t count)
        : entries_(makeEntries(50, count)), other_(otherVersion(entries_)), file_(entries_) {}

    void write(bool second) { file_.write(second ? other_ : entries_); }

    std::size_t take(bool) {
        file_.settings().sync();
        Values values = readAll();
        const std::size_t changes = countChanges(
            values_.cbegin(), values_.cend(), values.cbegin(), values.cend(),
            [](auto left, auto right) { return left->first.compare(right->first); },
            [](auto left, auto right) { return left->second == right->second; });
        values_ = std::move(values);
        return changes;
    }

private:
    using Values = std::vector<std::pair<QString, QString>>;

    /// In the order of the keys, which is that of allKeys().
    Values readAll() {
        const QStringList keys = file_.settings().allKeys();
        Values values;
        values.reserve(static_cast<std::size_t>(keys.size()));
        for (const QString& key : keys) {
            values.emplace_back(key, file_.settings().value(key).toString());
        }
        return values;
    }

    const Entries entries_;
    const Entries other_;
    SettingsOfFile file_;
    Values values_;
};

void addLoad(std::size_t count) {
    add(loadRow(count), "QSettings (INI)", [count](benchmark::State& state) {
        // QSettings keeps what it has read of a file as long as the file stays as it was: each round has a new one.
        const fakes::TemporaryDirectory directory;
        const std::string text = iniDocument(makeEntries(50, count));
        std::size_t round = 0;
        for (auto _ : state) {
            state.PauseTiming();
            const QString path = QString::fromStdString(directory.write(std::to_string(++round) + ".ini", text));
            state.ResumeTiming();
            const QSettings settings(path, QSettings::IniFormat);
            benchmark::DoNotOptimize(settings.value(QStringLiteral("g/none")));
        }
    })->Unit(benchmark::kMillisecond);
}

void addSave(std::size_t count) {
    add(saveRow(count), "QSettings (INI)", [count](benchmark::State& state) {
        SettingsOfFile file(makeEntries(50, count));
        QSettings& settings = file.settings();
        int version = 0;
        for (auto _ : state) {
            settings.setValue(QStringLiteral("g/version"), ++version);
            settings.sync();
        }
    })->Unit(benchmark::kMillisecond);
}

}  // namespace

void addQSettings(const Scale& scale) {
    addLookups<QSettingsChain>(scale, "QSettings");
    addAnswer<QSettingsChain>(scale, "QSettings");
    addSet<QSettingsChain>(scale, "QSettings (no event)");
    addLoad(scale.small);
    addLoad(scale.large);
    addSave(scale.small);
    addKeyMemory(scale, "QSettings", [](const Entries& entries) { return std::make_unique<SettingsOfFile>(entries); });
    addReplacement<RereadSettings>(scale.small, "QSettings (from its file)");
    addReplacement<RereadSettings>(scale.large, "QSettings (from its file)");
}

}  // namespace bench
