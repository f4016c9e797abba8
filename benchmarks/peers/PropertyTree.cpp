#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include "fakes/TemporaryDirectory.h"
#include "support/Documents.h"
#include "support/Harness.h"
#include "support/Memory.h"
#include "support/Replacement.h"
#include "support/Subjects.h"

namespace bench {
namespace {

using boost::property_tree::ptree;

ptree makeTree(const Entries& entries) {
    ptree tree;
    for (const auto& [key, value] : entries) {
        tree.put(key, value);
    }
    return tree;
}

/// A property tree for each layer, asked in turn by hand, for a child of that name: get() would first take the key
/// apart as a path of names.
class PropertyTreeChain {
public:
    using Key = std::string;

    explicit PropertyTreeChain(const Layers& layers) {
        for (const Layer& layer : layers) {
            layers_.push_back({makeTree(layer.entries), std::to_string(layers_.size()), layer.readOnly});
        }
    }

    static Key keyOf(const std::string& key) { return key; }

    bool lookUp(const Key& key) {
        for (const One& layer : layers_) {
            if (const std::string* found = find(layer, key)) {
                value_ = *found;
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
            const std::string* found = find(layer, key);
            if (found == nullptr) {
                continue;
            }
            if (!hit) {
                hit = true;
                store_ = layer.name;
                value_ = *found;
            }
            if (layer.readOnly) {
                originalStore_ = layer.name;
                original_ = *found;
                break;
            }
        }
        return hit;
    }

    void set(const Key& key, bool second) {
        layers_[USER_LAYER].tree.find(key)->second.data() = second ? "value-second" : "value--first";
        lookUp(key);
        ++told_;
    }

    std::size_t told() const { return told_; }

private:
    struct One {
        ptree tree;
        std::string name;
        bool readOnly;
    };

    /// Null for none.
    static const std::string* find(const One& layer, const Key& key) {
        const auto found = layer.tree.find(key);
        return found == layer.tree.not_found() ? nullptr : &found->second.data();
    }

    std::vector<One> layers_;
    std::string value_;
    std::string original_;
    std::string store_;
    std::string originalStore_;
    std::size_t told_ = 0;
};

/// A layer whose other version is there, both of them as trees.
class TwoTrees {
public:
    explicit TwoTrees(std::size_t count)
        : first_(makeTree(makeEntries(50, count))), second_(makeTree(otherVersion(makeEntries(50, count)))) {}

    std::size_t take(bool second) {
        const ptree& before = second ? first_ : second_;
        const ptree& after = second ? second_ : first_;
        return countChanges(
            before.ordered_begin(), before.not_found(), after.ordered_begin(), after.not_found(),
            [](auto left, auto right) { return left->first.compare(right->first); },
            [](auto left, auto right) { return left->second.data() == right->second.data(); });
    }

private:
    const ptree first_;
    const ptree second_;
};

/// Without the white space between the elements, which would be kept as texts of theirs.
ptree readDocument(std::size_t count) {
    ptree tree;
    boost::property_tree::read_xml(xmlFile(count), tree, boost::property_tree::xml_parser::trim_whitespace);
    return tree;
}

void addLoad(std::size_t count) {
    add(loadRow(count), "PropertyTree (XML)", [count](benchmark::State& state) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(readDocument(count));
        }
    })->Unit(benchmark::kMillisecond);
}

void addSave(std::size_t count) {
    add(saveRow(count), "PropertyTree (XML)", [count](benchmark::State& state) {
        const fakes::TemporaryDirectory directory;
        const ptree tree = readDocument(count);
        for (auto _ : state) {
            boost::property_tree::write_xml(directory.path("file.xml"), tree);
        }
    })->Unit(benchmark::kMillisecond);
}

}  // namespace

void addPropertyTree(const Scale& scale) {
    addLookups<PropertyTreeChain>(scale, "PropertyTree");
    addAnswer<PropertyTreeChain>(scale, "PropertyTree");
    addSet<PropertyTreeChain>(scale, "PropertyTree (no event)");
    addLoad(scale.small);
    addLoad(scale.large);
    addSave(scale.small);
    addKeyMemory(scale, "PropertyTree", makeTree);
    addReplacement<TwoTrees>(scale.small, "PropertyTree (in memory)");
    addReplacement<TwoTrees>(scale.large, "PropertyTree (in memory)");
}

}  // namespace bench
