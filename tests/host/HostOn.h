#pragma once

#include "fakes/TemporaryDirectory.h"
#include "host/ReferenceHost.h"

/// A host on the directories "config" and "install" of a test's own.
inline host::ReferenceHost::Options hostOptionsOn(const fakes::TemporaryDirectory& directory) {
    host::ReferenceHost::Options options;
    options.configDirectory = directory.path("config");
    options.installationDirectory = directory.path("install");
    options.bootstrapFilePath = directory.path("install/bootstrap.properties");
    options.fips = host::ReferenceHost::Options::Fips::Off;
    options.logLevel = 2;
    options.powerEvents = false;
    return options;
}
