#include "session/AllKeys.h"

#include <memory>

#include "ConfigService.h"
#include "ConfigValue.h"
#include "chain/ConfigMap.h"

namespace corvidctl {

std::vector<std::wstring> allKeys(Session::Inside& inside) {
    const std::vector<std::wstring> defined = inside.reader.definedKeys();
    SensitiveKeySet keys(defined.begin(), defined.end());
    const auto objects = inside.service.getAllConfig();
    for (const std::shared_ptr<ConfigValue>& object : *objects) {
        keys.insert(object->getKey());
    }
    return {keys.begin(), keys.end()};
}

}  // namespace corvidctl
