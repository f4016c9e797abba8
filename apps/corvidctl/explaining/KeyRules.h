#pragma once

#include <string>
#include <vector>

#include "explaining/Explanation.h"

namespace corvidctl {

/// A rule of this system that makes a key read otherwise than its files say: the sentences that it has to say about the
/// key, in plain words; none if it did not touch it. Pure; no value of the key is told.
using KeyRule = std::vector<std::string> (*)(const Explanation& key);

/// What follows from the key's names, from the order of the stores and from what the client does by itself, in the
/// order in which it is told.
const std::vector<KeyRule>& chainRules();

/// What follows from how the files are read.
const std::vector<KeyRule>& fileRules();

/// " (FILE, line N)", for behind the name of its store; empty for a store without a file.
std::string inBrackets(const HiddenPlace& place);

/// The stores whose files could not be read, a sentence for each.
std::vector<std::string> notLoaded(const Explanation& key);

/// That a store's file could not be read, and what has become of it. @param origin with a problem.
std::string sentenceOnFailure(const std::string& store, const StoreOrigin& origin);

/// Where the values of a kept copy came from, and when, as far as that is known; without a full stop.
std::string sentenceOnCopy(const std::string& store, const StoreOrigin& origin);

/// What all the rules have to say. The rules of the explanation itself are not looked at.
std::vector<std::string> rulesOf(const Explanation& key);

}  // namespace corvidctl
