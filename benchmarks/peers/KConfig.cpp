#include <KConfig>
#include <KConfigGroup>

#include "fakes/TemporaryDirectory.h"
#include "support/Documents.h"
#include "support/Harness.h"
#include "support/Memory.h"
#include "support/Replacement.h"
#include "support/Subjects.h"

namespace bench {
namespace {

/// A KConfig over a file of its own, and nothing else.
class ConfigOfFile {
public:
    explicit ConfigOfFile(const Entries& entries)
        : config_(QString::fromStdString(directory_.write("file.ini", iniDocument(entries))), KConfig::SimpleConfig) {}

    KConfig& config() { return config_; }

    /// Behind the back of the configuration.
    void write(const Entries& entries) const { directory_.write("file.ini", iniDocument(entries)); }

private:
    const fakes::TemporaryDirectory directory_;
    KConfig config_;
};

/// KConfig merges its sources as it reads them, so that a lookup knows no layers.
class KConfigChain {
public:
    using Key = QByteArray;

    explicit KConfigChain(const Layers& layers) {
        QStringList sources;
        for (std::size_t place = layers.size(); place-- > 0;) {
            if (place != USER_LAYER) {
                sources << write(layers, place);
            }
        }
        config_ = std::make_unique<KConfig>(write(layers, USER_LAYER), KConfig::CascadeConfig);
        config_->addConfigSources(sources);
        group_ = std::make_unique<KConfigGroup>(config_.get(), "g");
    }

    ~KConfigChain() { config_->markAsClean(); }

    static Key keyOf(const std::string& key) { return QByteArray::fromStdString(key); }

    bool lookUp(const Key& key) {
        value_ = group_->readEntry(key.constData(), QString());
        return !value_.isNull();
    }

    void set(const Key& key, bool second) {
        group_->writeEntry(key.constData(), second ? QStringLiteral("value-second") : QStringLiteral("value--first"));
        lookUp(key);
        ++told_;
    }

    std::size_t told() const { return told_; }

private:
    QString write(const Layers& layers, std::size_t place) const {
        return QString::fromStdString(
            directory_.write(std::to_string(place) + ".ini", iniDocument(layers[place].entries)));
    }

    const fakes::TemporaryDirectory directory_;
    std::unique_ptr<KConfig> config_;
    std::unique_ptr<KConfigGroup> group_;
    QString value_;
    std::size_t told_ = 0;
};

/// A layer that is read anew from its file, and compared with what it was.
class RereadConfig {
public:
    explicit RereadConfig(std::size_t count)
        : entries_(makeEntries(50, count)), other_(otherVersion(entries_)), file_(entries_) {}

    void write(bool second) { file_.write(second ? other_ : entries_); }

    std::size_t take(bool) {
        file_.config().reparseConfiguration();
        QMap<QString, QString> values = file_.config().entryMap(QStringLiteral("g"));
        const std::size_t changes = countChanges(
            values_.cbegin(), values_.cend(), values.cbegin(), values.cend(),
            [](auto left, auto right) { return left.key().compare(right.key()); },
            [](auto left, auto right) { return left.value() == right.value(); });
        values_ = std::move(values);
        return changes;
    }

private:
    const Entries entries_;
    const Entries other_;
    ConfigOfFile file_;
    QMap<QString, QString> values_;
};

void addLoad(std::size_t count) {
    add(loadRow(count), "KConfig (INI)", [count](benchmark::State& state) {
        const QString path = QString::fromStdString(iniFile(count));
        for (auto _ : state) {
            const KConfig config(path, KConfig::SimpleConfig);
            benchmark::DoNotOptimize(config.hasGroup("g"));
        }
    })->Unit(benchmark::kMillisecond);
}

void addSave(std::size_t count) {
    add(saveRow(count), "KConfig (INI)", [count](benchmark::State& state) {
        ConfigOfFile file(makeEntries(50, count));
        KConfig& config = file.config();
        KConfigGroup group(&config, "g");
        int version = 0;
        for (auto _ : state) {
            group.writeEntry("version", ++version);
            config.sync();
        }
    })->Unit(benchmark::kMillisecond);
}

}  // namespace

void addKConfig(const Scale& scale) {
    addLookups<KConfigChain>(scale, "KConfig");
    addSet<KConfigChain>(scale, "KConfig (no event)");
    addLoad(scale.small);
    addLoad(scale.large);
    addSave(scale.small);
    addKeyMemory(scale, "KConfig", [](const Entries& entries) { return std::make_unique<ConfigOfFile>(entries); });
    addReplacement<RereadConfig>(scale.small, "KConfig (from its file)");
    addReplacement<RereadConfig>(scale.large, "KConfig (from its file)");
}

}  // namespace bench
