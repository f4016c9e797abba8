#pragma once

#include <string>
#include <utility>

/// The name of the store that has answered, if any has. Names of the module's own stores are referred to, since they
/// stay the same and hardly anybody reads them; a store from outside may change its name, and so that one is kept.
class StoreName {
public:
    /// @param name must outlive this and its copies.
    void refer(const std::wstring& name) {
        own_ = &name;
        isGiven_ = true;
    }

    void keep(std::wstring name) {
        own_ = nullptr;
        kept_ = std::move(name);
        isGiven_ = true;
    }

    bool isGiven() const { return isGiven_; }

    /// Empty if none was given. Good until the next change.
    const std::wstring& text() const { return own_ != nullptr ? *own_ : kept_; }

private:
    const std::wstring* own_ = nullptr;
    std::wstring kept_;
    bool isGiven_ = false;
};
