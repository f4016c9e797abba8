#pragma once

#include <string>

#include "reading/StoreSources.h"
#include "xml/DocumentInspector.h"

/// What is wrong with a document, in words that quote nothing of it: a broken document may hold a secret, and the words
/// of the XML parser repeat what stands at the mistake.
namespace corvidctl {

/// That a document is not well-formed, with the place. @param line, column from 1; without a line the file itself
/// cannot be read, and without a column only the line is told.
std::string syntaxProblem(int line, int column);

/// One finding in one line, with its place.
std::string problemText(const DocumentReport::Finding& finding);

/// The first mistake of a document that is not valid, with its place.
std::string problemText(const DocumentReport& report);

/// That a store's file could not be read; without a full stop.
/// @param file as people are to see it. @param origin the store's, with a problem.
std::string failureText(const std::string& store, const std::string& file, const StoreOrigin& origin);

}  // namespace corvidctl
