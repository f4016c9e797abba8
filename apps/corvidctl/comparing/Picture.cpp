#include "comparing/Picture.h"

#include "ConfigStoreConstants.h"
#include "chain/ConfigStoreManager.h"
#include "quill/StringUtils.h"
#include "reading/ChainReader.h"
#include "reading/KeyNames.h"

namespace corvidctl {

using QuillCoreUtils::toString;

std::vector<Layer> takeLayers(ConfigStoreManager& chain) {
    const ChainReader reader(chain, false);
    const KeyNames names;
    std::vector<Layer> layers;
    for (const std::shared_ptr<ConfigStore>& store : chain.getStores()) {
        Layer layer{store->getName(), store->isReadOnly(), {}};
        for (const std::wstring& key : store->getKeys()) {
            std::wstring value;
            if (store->getValue(key, value)) {
                layer.entries.push_back({names.currentName(key), toString(key), names.isOld(key), toString(value),
                                         reader.isSensitive(key)});
            }
        }
        layers.push_back(std::move(layer));
    }
    return layers;
}

EffectiveValues takeEffectiveValues(ConfigStoreManager& chain) {
    const ChainReader reader(chain, true);
    EffectiveValues values;
    for (const std::wstring& key : reader.definedKeys()) {
        values.emplace_hint(values.end(), key, reader.describe(key));
    }
    return values;
}

Picture takePicture(ConfigStoreManager& chain) { return {takeLayers(chain), takeEffectiveValues(chain)}; }

std::string shownText(const std::string& text, bool isSensitive, bool reveal) {
    return isSensitive && !reveal ? toString(ConfigStoreConstants::SENSITIVE_VALUE_REPLACEMENT) : text;
}

}  // namespace corvidctl
