#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ConfigValueImpl.h"
#include "chain/KeyTable.h"

/// The live objects, each under its own key, in the spelling in which it was first asked for or reported.
///
/// Found in one step; nothing is kept in order, since hardly anybody asks for all. Has no lock: dispatcher thread only.
class LiveValues {
public:
    /// The object of a key; null if there is none.
    std::shared_ptr<ConfigValueImpl> find(const FoldedKey& key) const;

    /// Fetches ahead what reports of these keys, and their fires, will read.
    void fetchAhead(std::span<const FoldedKey> keys) const;

    /// Keeps an object, unless there is one of its key already. Not null.
    void add(const std::shared_ptr<ConfigValueImpl>& object);

    void clear();

    /// All objects in the order of their keys, without regard to case.
    std::vector<std::shared_ptr<ConfigValueImpl>> inOrder() const;

private:
    struct KeyOfObject {
        const std::wstring& operator()(const std::shared_ptr<ConfigValueImpl>& object) const {
            return object->ownKey();
        }
    };

    KeyTable<std::shared_ptr<ConfigValueImpl>, KeyOfObject> table_;
};
