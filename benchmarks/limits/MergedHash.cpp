#include "limits/HashTable.h"
#include "limits/KeyWays.h"
#include "support/Harness.h"
#include "support/Subjects.h"

namespace bench {
namespace {

/// A comparison: all layers merged into one table beforehand, and no lock. It knows no layers any more.
class MergedHash {
public:
    using Key = std::wstring;

    explicit MergedHash(const Layers& layers) : values_(layers.size() * layers.front().entries.size()) {
        for (auto layer = layers.rbegin(); layer != layers.rend(); ++layer) {
            for (const auto& [key, value] : layer->entries) {
                values_.put(widen(key), widen(value));
            }
        }
    }

    static Key keyOf(const std::string& key) { return widen(key); }

    bool lookUp(const Key& key) {
        const std::wstring* found = values_.find(key, EightLetters::hashOf(key));
        if (found != nullptr) {
            value_ = *found;
        }
        return found != nullptr;
    }

private:
    HashTable<EightLetters> values_;
    std::wstring value_;
};

}  // namespace

void addMergedHash(const Scale& scale) { addLookups<MergedHash>(scale, "one merged table"); }

}  // namespace bench
