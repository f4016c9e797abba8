#pragma once

/// What the test module registers with a factory, under the number 1.
class TestModuleService {
public:
    virtual ~TestModuleService() = default;

    /// How many times the module's entry point had run in this process when it made this object.
    virtual int entries() const = 0;
};

/// A type that the module asks its factory for while it registers itself.
class TestModuleFeatureSet {};
