#include "inspecting/KeyRows.h"

#include <nlohmann/json.hpp>

#include "ConfigStoreConstants.h"
#include "journal/JournalText.h"
#include "output/Answers.h"
#include "quill/StringUtils.h"

namespace corvidctl {

using QuillCoreUtils::toWideString;

const char* nameOf(KeyState state) {
    switch (state) {
    case KeyState::Default:
        return "default";
    case KeyState::Administrator:
        return "administrator";
    case KeyState::User:
        return "user";
    case KeyState::Overridden:
        return "overridden";
    case KeyState::Shadowed:
        return "shadowed";
    case KeyState::Undefined:
        break;
    }
    return "undefined";
}

KeyState stateOf(const ValueView& value, const std::set<std::string>& writableStores) {
    if (!value.isDefined) {
        return KeyState::Undefined;
    }
    if (value.isOverridden && !value.originalValueStoreName.empty()) {
        return KeyState::Overridden;
    }
    if (value.shadowsUser) {
        return KeyState::Shadowed;
    }
    if (writableStores.count(value.valueStoreName) != 0) {
        return KeyState::User;
    }
    return value.valueStoreName == ConfigStoreConstants::DEFAULT_CONFIG_STORE_FILE_NAME ? KeyState::Default
                                                                                        : KeyState::Administrator;
}

KeyTimes::KeyTimes(const std::vector<JournalBatch>& batches, StoreSources& sources) : sources_(sources) {
    for (const JournalBatch& batch : batches) {
        for (const JournalChange& change : batch.changes) {
            if (batch.cause != Cause::Start) {
                changed_[toWideString(change.key)] = batch.time;
            }
        }
    }
}

std::optional<KeyTimes::Moment> KeyTimes::of(const ValueView& value) {
    const auto found = changed_.empty() ? changed_.end() : changed_.find(toWideString(value.key));
    if (found != changed_.end()) {
        return found->second;
    }
    return value.isDefined ? sources_.of(value.valueStoreName).origin.time : std::nullopt;
}

Json answers::keys(const KeyList& list, KeyTimes& times) {
    Json rows = Json::array();
    for (const ValueView& value : list.values) {
        const std::optional<KeyTimes::Moment> since = times.of(value);
        Json row = valueObject(value);
        row["state"] = nameOf(stateOf(value, list.writableStores));
        row["since"] = since ? Json(journaltext::timeText(*since)) : Json(nullptr);
        rows.push_back(std::move(row));
    }
    Json answer = Json::object();  // a list in braces would copy the rows
    answer["last"] = list.lastBatch;
    answer["keys"] = std::move(rows);
    return answer;
}

}  // namespace corvidctl
