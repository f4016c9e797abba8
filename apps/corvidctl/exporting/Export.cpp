#include "exporting/Export.h"

#include <algorithm>

#include "ConfigStore.h"
#include "ConfigStoreConstants.h"
#include "chain/ConfigStoreManager.h"
#include "quill/StringUtils.h"
#include "reading/ClientKeys.h"
#include "validating/ShownKey.h"

namespace corvidctl {

using QuillCoreUtils::caseInsensitiveStringEquals;

namespace {

bool isWritable(const std::string& store, const ChainReader& reader) {
    const std::vector<StoreView> stores = reader.stores();
    return std::any_of(stores.begin(), stores.end(),
                       [&store](const StoreView& one) { return one.name == store && !one.isReadOnly; });
}

/// The same keys count as configuration where an administrator has set them.
bool isStateOfTheClient(const ValueView& view, const ChainReader& reader) {
    const auto isKey = [&view](const std::wstring& key) {
        return caseInsensitiveStringEquals(view.key, QuillCoreUtils::toString(key));
    };
    const bool isNotedByClient =
        isKey(ConfigStoreConstants::ALLOW_URL_PROVISIONING_KEY) || isKey(ConfigStoreConstants::HOME_UDS_VERSION);
    return isKeptByClient(view.key) || (isNotedByClient && isWritable(view.valueStoreName, reader));
}

}  // namespace

std::vector<ExportedValue> effectiveValues(const ChainReader& reader) {
    std::vector<ExportedValue> values;
    for (const std::wstring& key : reader.definedKeys()) {
        ValueView view = reader.describe(key);
        if (view.isDefined) {
            const bool isClientState = isStateOfTheClient(view, reader);
            values.push_back({QuillCoreUtils::toString(key), std::move(view.value), view.isSensitive, isClientState});
        }
    }
    return values;
}

std::optional<std::vector<ExportedValue>> valuesOfStore(Session::Inside& inside, const std::string& name) {
    const std::vector<std::shared_ptr<ConfigStore>> stores = inside.chain.getStores();
    const auto store = std::find_if(stores.begin(), stores.end(), [&name](const std::shared_ptr<ConfigStore>& one) {
        return caseInsensitiveStringEquals(one->getName(), name);
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
        if (value.isClientState) {
            view.leftOut.push_back({value.key, "the client keeps it for itself", true});
        } else if (value.isSensitive && !reveal) {
            view.hidden.push_back(shownKey(QuillCoreUtils::toWideString(value.key)));
        } else if (const std::string obstacle = form.obstacleTo(value); !obstacle.empty()) {
            view.leftOut.push_back({value.key, obstacle, false});
        } else {
            written.push_back(value);
        }
    }
    view.keys = written.size();
    view.document = form.write(written);
    return view;
}

}  // namespace corvidctl
