#include <functional>
#include <map>

#include "chain/ConfigMap.h"
#include "support/Harness.h"
#include "support/Subjects.h"

namespace bench {
namespace {

/// What one writes first: an ordered map for each layer, without a lock.
class MapChain {
public:
    using Key = std::wstring;

    explicit MapChain(const Layers& layers) {
        for (const Layer& layer : layers) {
            maps_.emplace_back();
            for (const auto& [key, value] : layer.entries) {
                maps_.back().emplace(widen(key), widen(value));
            }
        }
        observer_ = [this] { ++told_; };
    }

    static Key keyOf(const std::string& key) { return widen(key); }

    bool lookUp(const Key& key) {
        for (const ConfigMap& map : maps_) {
            const auto found = map.find(key);
            if (found != map.end()) {
                value_ = found->second;
                return true;
            }
        }
        return false;
    }

    void set(const Key& key, bool second) {
        maps_[USER_LAYER][key] = second ? L"value-second" : L"value--first";
        lookUp(key);
        if (value_ != seen_) {
            seen_ = value_;
            observer_();
        }
    }

    std::size_t told() const { return told_; }

private:
    std::vector<ConfigMap> maps_;
    std::wstring value_;
    std::wstring seen_;
    std::function<void()> observer_;
    std::size_t told_ = 0;
};

}  // namespace

void addMapChain(const Scale& scale) {
    addLookups<MapChain>(scale, "ordered maps");
    addSet<MapChain>(scale, "ordered maps");
}

}  // namespace bench
