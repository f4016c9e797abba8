#pragma once

#include <functional>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

#include "chain/ConfigStoreManager_Observer.h"

namespace fakes {

/// One report of a manager, of any of the three kinds.
struct ManagerReport {
    enum class Kind { Change, Fire, Sensitive };

    Kind kind = Kind::Change;
    std::wstring key;
    // The other values of a change; unused for the two kinds that carry a key only.
    std::wstring value;
    std::wstring originalValue;
    bool isOverridden = false;
    bool isDefined = false;
    std::wstring valueStoreName;
    std::wstring originalValueStoreName;
    bool silent = false;

    bool operator==(const ManagerReport&) const = default;

    static ManagerReport fire(const std::wstring& firedKey) { return ofKind(Kind::Fire, firedKey); }
    static ManagerReport sensitive(const std::wstring& markedKey) { return ofKind(Kind::Sensitive, markedKey); }

private:
    static ManagerReport ofKind(Kind ownKind, const std::wstring& ownKey) {
        ManagerReport report;
        report.kind = ownKind;
        report.key = ownKey;
        return report;
    }
};

void PrintTo(const ManagerReport& report, std::ostream* out);

/// Writes down every report of a manager, in order, and can act from inside one, as a client would.
/// Any thread; no lock is held while the action runs.
class RecordingManagerObserver : public ConfigStoreManager_Observer {
public:
    /// Runs inside every report, after it has been written down.
    void onReport(std::function<void(const ManagerReport&)> action);

    std::vector<ManagerReport> reports() const;

    /// The reports of changes only.
    std::vector<ManagerReport> changes() const;

    /// The whole course in short, one word a report: "key=value", "~key=value" for a silent one, "key!" for a fire,
    /// "key?" for a sensitive key, "key-" and "~key-" for a key that no store holds.
    std::vector<std::string> course() const;

    void clear();

    void onFireIfRequired(std::wstring key) override;
    void onSensitiveKeyAddedOrUpdated(std::wstring key) override;
    void onConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue, bool isOverridden,
                                bool isDefined, std::wstring valueStoreName, std::wstring originalValueStoreName,
                                bool silent) override;

private:
    void take(const ManagerReport& report);

    mutable std::mutex mutex_;
    std::vector<ManagerReport> reports_;
    std::function<void(const ManagerReport&)> action_;
};

}  // namespace fakes
