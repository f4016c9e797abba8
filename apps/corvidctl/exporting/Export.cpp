#include "exporting/Export.h"

#include <algorithm>

#include "ConfigStore.h"
#include "chain/ConfigStoreManager.h"
#include "quill/StringUtils.h"

namespace corvidctl {

std::vector<ExportedValue> effectiveValues(const ChainReader& reader) {
    std::vector<ExportedValue> values;
    for (const std::wstring& key : reader.definedKeys()) {
        ValueView view = reader.describe(key);
        if (view.isDefined) {
            values.push_back({std::move(view.key), std::move(view.value), view.isSensitive});
        }
    }
    return values;
}

std::optional<std::vector<ExportedValue>> valuesOfStore(Session::Inside& inside, const std::string& name) {
    const std::vector<std::shared_ptr<ConfigStore>> stores = inside.chain.getStores();
    const auto store = std::find_if(stores.begin(), stores.end(), [&name](const std::shared_ptr<ConfigStore>& one) {
        return QuillCoreUtils::caseInsensitiveStringEquals(one->getName(), name);
    });
    if (store == stores.end()) {
        return std::nullopt;
    }
    std::vector<ExportedValue> values;
    for (const std::wstring& key : (*store)->getKeys()) {
        std::wstring value;
        if ((*store)->getValue(key, value)) {  // a store may list a key that it does not answer for
            values.push_back(
                {QuillCoreUtils::toString(key), QuillCoreUtils::toString(value), inside.reader.isSensitive(key)});
        }
    }
    return values;
}

ExportView exported(const std::vector<ExportedValue>& values, const ExportForm& form, bool reveal) {
    ExportView view;
    std::vector<ExportedValue> written;
    for (const ExportedValue& value : values) {
        if (value.isSensitive && !reveal) {
            view.hidden.push_back(value.key);
        } else if (const std::string obstacle = form.obstacleTo(value); !obstacle.empty()) {
            view.leftOut.push_back({value.key, obstacle});
        } else {
            written.push_back(value);
        }
    }
    view.keys = written.size();
    view.document = form.write(written);
    return view;
}

}  // namespace corvidctl
