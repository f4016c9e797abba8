#include "comparing/ComparingAnswers.h"

#include <nlohmann/json.hpp>

#include "quill/StringUtils.h"
#include "validating/ShownKey.h"

namespace corvidctl::answers {

namespace {

Json orNull(bool isThere, const std::string& text) { return isThere ? Json(text) : Json(nullptr); }

Json toJson(const DeltaRow& row, bool reveal) {
    const bool hasBelow = row.belowStore.has_value();
    return {{"type", nameOf(row.type)},
            {"key", shownKey(row.key, reveal)},
            {"name", shownKey(QuillCoreUtils::toWideString(row.name), reveal)},
            {"store", row.store},
            {"value", shownText(row.value, row.isSensitive, reveal)},
            {"belowStore", orNull(hasBelow, row.belowStore.value_or(""))},
            {"belowValue", orNull(hasBelow, shownText(row.belowValue, row.isSensitive, reveal))},
            {"winningStore", row.winningStore},
            {"winningValue", shownText(row.winningValue, row.isSensitive, reveal)},
            {"isSensitive", row.isSensitive}};
}

const char* wordFor(ContentsDifference::Kind kind) {
    switch (kind) {
    case ContentsDifference::Kind::OnlyInA:
        return "onlyInA";
    case ContentsDifference::Kind::OnlyInB:
        return "onlyInB";
    case ContentsDifference::Kind::Different:
        return "different";
    case ContentsDifference::Kind::Equal:
        break;
    }
    return "equal";
}

Json toJson(const ContentsDifference& difference, bool reveal) {
    const auto value = [&](const std::optional<ContentsEntry>& entry) {
        return entry ? Json(shownText(entry->value, difference.isSensitive(), reveal)) : Json(nullptr);
    };
    const auto store = [](const std::optional<ContentsEntry>& entry) {
        return entry && !entry->store.empty() ? Json(entry->store) : Json(nullptr);
    };
    return {{"difference", wordFor(difference.kind)},
            {"key", shownKey(difference.key, reveal)},
            {"a", value(difference.a)},
            {"b", value(difference.b)},
            {"aStore", store(difference.a)},
            {"bStore", store(difference.b)},
            {"isSensitive", difference.isSensitive()}};
}

Json toJson(const KeyChange& change) {
    const ValueView& before = change.before;
    const ValueView& after = change.after;
    return {{"change", nameOf(change.kind)},
            {"key", after.key},
            {"oldValue", orNull(before.isDefined, before.value)},
            {"newValue", orNull(after.isDefined, after.value)},
            {"oldStore", orNull(before.isDefined, before.valueStoreName)},
            {"newStore", orNull(after.isDefined, after.valueStoreName)},
            {"oldOriginalValue", orNull(!before.originalValueStoreName.empty(), before.originalValue)},
            {"newOriginalValue", orNull(!after.originalValueStoreName.empty(), after.originalValue)},
            {"oldIsOverridden", before.isOverridden},
            {"newIsOverridden", after.isOverridden},
            {"isSensitive", change.isSensitive},
            {"oldOriginalStore", orNull(!before.originalValueStoreName.empty(), before.originalValueStoreName)},
            {"newOriginalStore", orNull(!after.originalValueStoreName.empty(), after.originalValueStoreName)}};
}

Json arrayOf(const std::vector<KeyChange>& changes) {
    Json array = Json::array();
    for (const KeyChange& change : changes) {
        array.push_back(toJson(change));
    }
    return array;
}

template <class Row>
std::string listed(const std::vector<Row>& rows, bool reveal, Format format) {
    Json array = Json::array();
    for (const Row& row : rows) {
        array.push_back(toJson(row, reveal));
    }
    return printedList(array, toJson(Row(), reveal), format);
}

}  // namespace

std::string delta(const std::vector<DeltaRow>& rows, bool reveal, Format format) {
    return listed(rows, reveal, format);
}

std::string differences(const std::vector<ContentsDifference>& differences, bool reveal, Format format) {
    return listed(differences, reveal, format);
}

std::string changes(const std::vector<KeyChange>& changes, Format format) {
    return printedList(arrayOf(changes), toJson(KeyChange()), format);
}

std::string fetchRehearsal(const FetchView& view, const std::vector<KeyChange>& changes, Format format) {
    return printed({{"server", view.server},
                    {"url", view.url},
                    {"version", view.version},
                    {"keys", view.keys},
                    {"ok", view.ok},
                    {"reason", view.reason},
                    {"dryRun", true},
                    {"changes", arrayOf(changes)}},
                   format);
}

}  // namespace corvidctl::answers
