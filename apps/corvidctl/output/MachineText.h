#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "output/Format.h"

/// JSON objects in the formats that scripts read, as whole lines. Ill-formed UTF-8 becomes U+FFFD, and control
/// characters are escaped as JSON does it. In tab-separated lines a text stands as in JSON without the quotation marks:
/// a tab is "\t", a backslash "\\"; what is a list or an object inside of a line stands there as JSON on one line, and
/// null as an empty text. Format::Table counts as Format::Json.
namespace corvidctl {

using Json = nlohmann::ordered_json;

/// An object on its own, as a document of one.
std::string printed(const Json& json, Format format);

/// @param array objects that all have the same names. @param sample one such object, for the names where there is none.
std::string printedList(const Json& array, const Json& sample, Format format);

/// One object of a stream, on one line whatever the format.
std::string streamed(const Json& json, Format format);

/// What stands before the first line of a stream; empty but for tab-separated lines. @param sample any such object.
std::string streamHeadings(const Json& sample, Format format);

/// Null for an empty text.
Json textOrNull(const std::string& text);

}  // namespace corvidctl
