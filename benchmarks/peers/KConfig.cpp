#include <KConfig>
#include <KConfigGroup>

#include "fakes/TemporaryDirectory.h"
#include "support/Documents.h"
#include "support/Harness.h"
#include "support/Subjects.h"

namespace bench {
namespace {

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
        const fakes::TemporaryDirectory directory;
        const std::string path = directory.write("file.ini", iniDocument(makeEntries(50, count)));
        KConfig config(QString::fromStdString(path), KConfig::SimpleConfig);
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
}

}  // namespace bench
