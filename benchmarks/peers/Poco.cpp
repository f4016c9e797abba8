#include <Poco/AutoPtr.h>
#include <Poco/Delegate.h>
#include <Poco/SAX/InputSource.h>
#include <Poco/Util/LayeredConfiguration.h>
#include <Poco/Util/MapConfiguration.h>
#include <Poco/Util/XMLConfiguration.h>

#include "fakes/TemporaryDirectory.h"
#include "support/Documents.h"
#include "support/Harness.h"
#include "support/Memory.h"
#include "support/Replacement.h"
#include "support/Subjects.h"

namespace bench {
namespace {

using Poco::Util::AbstractConfiguration;
/// One that lets its entries be walked along, which is for those that derive from it.
class OpenMap : public Poco::Util::MapConfiguration {
public:
    using MapConfiguration::begin;
    using MapConfiguration::end;
};
using Map = Poco::AutoPtr<OpenMap>;

Map makeMap(const Entries& entries) {
    Map map(new OpenMap);
    for (const auto& [key, value] : entries) {
        map->setString(key, value);
    }
    return map;
}

/// LayeredConfiguration over maps; it finds one value, and tells of changes itself.
class PocoChain {
public:
    using Key = std::string;

    explicit PocoChain(const Layers& layers) {
        int priority = 0;
        for (const Layer& layer : layers) {
            chain_->add(makeMap(layer.entries), priority, priority == static_cast<int>(USER_LAYER));
            ++priority;
        }
        chain_->propertyChanged += Poco::delegate(this, &PocoChain::onChanged);
    }

    ~PocoChain() { chain_->propertyChanged -= Poco::delegate(this, &PocoChain::onChanged); }

    static Key keyOf(const std::string& key) { return key; }

    bool lookUp(const Key& key) {
        value_ = chain_->getString(key, missing_);
        return value_ != missing_;
    }

    void set(const Key& key, bool second) {
        chain_->setString(key, second ? "value-second" : "value--first");
        value_ = chain_->getString(key);
    }

    std::size_t told() const { return told_; }

private:
    void onChanged(const AbstractConfiguration::KeyValue&) { ++told_; }

    Poco::AutoPtr<Poco::Util::LayeredConfiguration> chain_{new Poco::Util::LayeredConfiguration};
    const std::string missing_ = "none";  ///< what no key has
    std::string value_;
    std::size_t told_ = 0;
};

/// A layer whose other version is there, both of them as maps.
class TwoMaps {
public:
    explicit TwoMaps(std::size_t count)
        : first_(makeMap(makeEntries(50, count))), second_(makeMap(otherVersion(makeEntries(50, count)))) {
        chain_->add(current_, 0);
    }

    std::size_t take(bool second) {
        const Map before = current_;
        current_ = second ? second_ : first_;
        chain_->removeConfiguration(before);
        chain_->add(current_, 0);
        return countChanges(
            before->begin(), before->end(), current_->begin(), current_->end(),
            [](auto left, auto right) { return left->first.compare(right->first); },
            [](auto left, auto right) { return left->second == right->second; });
    }

private:
    const Map first_;
    const Map second_;
    Map current_ = first_;
    Poco::AutoPtr<Poco::Util::LayeredConfiguration> chain_{new Poco::Util::LayeredConfiguration};
};

using Document = Poco::AutoPtr<Poco::Util::XMLConfiguration>;

/// Its own pool of names would be full after 509 of them.
Document readDocument(std::size_t count) {
    Poco::XML::InputSource source(xmlFile(count));
    Document document(new Poco::Util::XMLConfiguration);
    document->load(&source, 2 * count + 509);
    return document;
}

void addLoad(std::size_t count) {
    add(loadRow(count), "POCO (XML)", [count](benchmark::State& state) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(readDocument(count));
        }
    })->Unit(benchmark::kMillisecond);
}

void addSave(std::size_t count) {
    add(saveRow(count), "POCO (XML)", [count](benchmark::State& state) {
        const fakes::TemporaryDirectory directory;
        const Document document = readDocument(count);
        for (auto _ : state) {
            document->save(directory.path("file.xml"));
        }
    })->Unit(benchmark::kMillisecond);
}

}  // namespace

void addPoco(const Scale& scale) {
    addLookups<PocoChain>(scale, "POCO");
    addSet<PocoChain>(scale, "POCO");
    addLoad(scale.small);
    addLoad(scale.large);
    addSave(scale.small);
    addKeyMemory(scale, "POCO", makeMap);
    addReplacement<TwoMaps>(scale.small, "POCO (in memory)");
    addReplacement<TwoMaps>(scale.large, "POCO (in memory)");
}

}  // namespace bench
