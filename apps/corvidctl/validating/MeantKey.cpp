#include "validating/MeantKey.h"

#include "reading/ChainReader.h"
#include "validating/KnownKeys.h"

namespace corvidctl {

std::optional<std::string> keyMeantBy(const std::wstring& key, const ChainReader& reader) {
    KnownKeys known;
    for (const std::wstring& held : reader.definedKeys()) {
        known.add(held);
    }
    return known.meantBy(key);
}

}  // namespace corvidctl
