#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Composes one indented UTF-8 document as a text, letter by letter what libxml2's writer makes of the same calls.
///
/// Values are wide; of what no XML 1.0 document can hold (see toXmlText()) each unit becomes U+FFFD. Names are UTF-8
/// and are put as they are. One thread.
class XmlComposer {
public:
    /// Starts with the XML declaration.
    XmlComposer();

    void startElement(std::string_view name);

    /// Of the element that was started last. @return false if characters were replaced.
    bool writeAttribute(std::string_view name, std::wstring_view value);
    void endElement();

    /// An element with a text and nothing else. @return false if characters were replaced.
    bool writeElement(std::string_view name, std::wstring_view text);

    /// What was composed so far. Its owner may take it away piece by piece.
    std::string& text() { return text_; }

private:
    void closeStartTag();
    void indent();

    std::string text_;
    std::vector<std::string> open_;  ///< names of the elements that have not ended, outermost first
    bool isInStartTag_ = false;
};
