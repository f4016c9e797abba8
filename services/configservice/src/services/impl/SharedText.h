#pragma once

#include <memory>
#include <string>

/// One of the few texts that very many objects have, the name of a store say: equal texts are kept once in a process.
/// Any thread; one object as any value.
class SharedText {
public:
    /// The empty text.
    SharedText() = default;
    explicit SharedText(const std::wstring& text);

    const std::wstring& text() const;

private:
    std::shared_ptr<const std::wstring> text_;  ///< null for the empty text
};
