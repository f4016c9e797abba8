#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "cli/Invocation.h"
#include "host/ReferenceHost.h"
#include "reading/ChainReader.h"

class ConfigFeatureSet;
class ConfigService;
class ConfigStoreManager;

namespace corvidctl {

/// The host that a command works on: up from construction to the end, with the feature set started.
class Session {
public:
    /// What a piece of work on the dispatcher thread sees.
    struct Inside {
        ConfigStoreManager& chain;
        ConfigFeatureSet& featureSet;
        ConfigService& service;
        ChainReader reader;
    };

    /// Puts the module in and starts the feature set. @throws std::runtime_error with one line if that fails.
    explicit Session(const Invocation& invocation);

    /// Runs the work on the dispatcher thread and returns when it is done.
    void work(const std::function<void(Inside&)>& work);

    /// Returns when every change so far has reached the disk. Not on the dispatcher thread.
    /// @return false if something could not be written to disk.
    bool persist();

    /// Ends when everything is on disk and everything is down.
    /// @return false if something could not be written to disk.
    bool finish();

    host::ReferenceHost& host() { return host_; }

private:
    bool allIsOnDisk();

    host::ReferenceHost host_;
    const bool reveal_;
};

}  // namespace corvidctl
