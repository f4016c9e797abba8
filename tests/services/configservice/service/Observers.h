#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ConfigServiceObserver.h"
#include "ConfigValueObserver.h"

/// Writes down what it is told, in order, and runs a hook of the test's each time.
class RecordingValueObserver : public ConfigValueObserver {
public:
    void OnInfoChanged() override { tell("Info"); }
    void OnGuidChanged() override { tell("Guid"); }
    void OnKeyChanged() override { tell("Key"); }
    void OnValueChanged() override { tell("Value"); }
    void OnOriginalValueChanged() override { tell("OriginalValue"); }
    void OnisOverriddenChanged() override { tell("isOverridden"); }
    void OnisDefinedChanged() override { tell("isDefined"); }
    void OnValueStoreNameChanged() override { tell("ValueStoreName"); }
    void OnOriginalValueStoreNameChanged() override { tell("OriginalValueStoreName"); }

    std::vector<std::string> told;
    std::function<void(const std::string&)> hook;

private:
    void tell(const std::string& property) {
        told.push_back(property);
        if (hook) {
            hook(property);
        }
    }
};

class RecordingServiceObserver : public ConfigServiceObserver {
public:
    void OnInfoChanged() override { told.push_back("Info"); }
    void OnGuidChanged() override { told.push_back("Guid"); }
    void OnBulkUpdateInProgressChanged() override { told.push_back("BulkUpdateInProgress"); }
    void OnConfigReadyChanged() override { told.push_back("ConfigReady"); }

    std::vector<std::string> told;
};

/// Only a business object's observer: the wrong type for a service and for a value.
class PlainObserver : public UnifiedBusinessObjectObserver {
public:
    void OnInfoChanged() override { ++told; }
    void OnGuidChanged() override { ++told; }

    int told = 0;
};
