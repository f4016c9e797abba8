#include "fakes/RecordingManagerObserver.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "quill/StringUtils.h"

namespace fakes {

namespace {

std::string inShort(const ManagerReport& report) {
    const std::string key = QuillCoreUtils::toString(report.key);
    switch (report.kind) {
    case ManagerReport::Kind::Fire:
        return key + "!";
    case ManagerReport::Kind::Sensitive:
        return key + "?";
    case ManagerReport::Kind::Change:
        break;
    }
    const std::string state = report.isDefined ? "=" + QuillCoreUtils::toString(report.value) : "-";
    return (report.silent ? "~" : "") + key + state;
}

}  // namespace

void PrintTo(const ManagerReport& report, std::ostream* out) {
    *out << inShort(report);
    if (report.kind == ManagerReport::Kind::Change) {
        *out << " from [" << QuillCoreUtils::toString(report.valueStoreName) << "], original ["
             << QuillCoreUtils::toString(report.originalValue) << "] from ["
             << QuillCoreUtils::toString(report.originalValueStoreName) << "]"
             << (report.isOverridden ? ", overridden" : "");
    }
}

void RecordingManagerObserver::onReport(std::function<void(const ManagerReport&)> action) {
    const std::lock_guard<std::mutex> lock(mutex_);
    action_ = std::move(action);
}

std::vector<ManagerReport> RecordingManagerObserver::reports() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return reports_;
}

std::vector<ManagerReport> RecordingManagerObserver::changes() const {
    std::vector<ManagerReport> changes = reports();
    std::erase_if(changes, [](const ManagerReport& report) { return report.kind != ManagerReport::Kind::Change; });
    return changes;
}

std::vector<std::string> RecordingManagerObserver::course() const {
    const std::vector<ManagerReport> all = reports();
    std::vector<std::string> course;
    std::transform(all.begin(), all.end(), std::back_inserter(course), inShort);
    return course;
}

void RecordingManagerObserver::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    reports_.clear();
}

void RecordingManagerObserver::take(const ManagerReport& report) {
    std::function<void(const ManagerReport&)> action;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        reports_.push_back(report);
        action = action_;
    }
    if (action) {
        action(report);
    }
}

void RecordingManagerObserver::onFireIfRequired(std::wstring key) { take(ManagerReport::fire(key)); }

void RecordingManagerObserver::onSensitiveKeyAddedOrUpdated(std::wstring key) { take(ManagerReport::sensitive(key)); }

void RecordingManagerObserver::onConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue,
                                                      bool isOverridden, bool isDefined, std::wstring valueStoreName,
                                                      std::wstring originalValueStoreName, bool silent) {
    ManagerReport report;
    report.key = std::move(key);
    report.value = std::move(value);
    report.originalValue = std::move(originalValue);
    report.isOverridden = isOverridden;
    report.isDefined = isDefined;
    report.valueStoreName = std::move(valueStoreName);
    report.originalValueStoreName = std::move(originalValueStoreName);
    report.silent = silent;
    take(report);
}

}  // namespace fakes
