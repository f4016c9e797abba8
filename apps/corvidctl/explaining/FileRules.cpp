#include <algorithm>

#include "explaining/KeyRules.h"
#include "reading/ProblemText.h"

namespace corvidctl {

namespace {

using Sentences = std::vector<std::string>;

std::string placeOf(const KeyLayer& layer) {
    return layer.origin.shownFile + ", line " + std::to_string(layer.inFile->line);
}

/// A sentence for each layer whose file has the key, where the rule has one; a store is told of once.
template <class Sentence>
Sentences forEachFile(const Explanation& key, const Sentence& sentence) {
    Sentences sentences;
    for (const KeyLayer& layer : key.layers) {
        const std::string said = layer.inFile ? sentence(layer) : std::string();
        if (!said.empty()) {
            sentences.push_back(said);
        }
    }
    return sentences;
}

Sentences setAsideEarlier(const Explanation& key) {
    Sentences sentences;
    for (const KeyLayer& layer : key.layers) {
        const StoreOrigin& origin = layer.origin;
        if (origin.isMissing && !origin.setAside.empty() && layer.key == key.lookedUp.front()) {
            sentences.push_back("An earlier " + origin.shownFile + " could not be read; it was moved to " +
                                origin.setAside + ".");
        }
    }
    return sentences;
}

Sentences neverFromDocuments(const Explanation& key) {
    Sentences sentences;
    for (const KeyLayer& layer : key.layers) {
        if (layer.state == LayerState::Ignored) {
            const std::string place = layer.inFile ? " (" + placeOf(layer) + ")" : std::string();
            sentences.push_back("What " + layer.store + " says of it" + place +
                                " is ignored: this key is never taken from a configuration document.");
        }
    }
    return sentences;
}

Sentences movedVoicemailKey(const Explanation& key) {
    return forEachFile(key, [&key](const KeyLayer& layer) {
        return !layer.inFile->underOldName ? std::string()
                                           : placeOf(layer) + ", has it under the old name " + key.oldName +
                                                 ", which this store takes for " + layer.key + ".";
    });
}

Sentences markup(const Explanation& key) {
    return forEachFile(key, [](const KeyLayer& layer) {
        return !layer.inFile->isMarkup ? std::string()
                                       : placeOf(layer) + ", has elements or comments inside, so the value is the "
                                                          "entry's own mark-up.";
    });
}

std::string enumerated(const std::vector<int>& lines) {
    std::string text = lines.size() == 1 ? "line " : "lines ";
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const char* const before = i == 0 ? "" : i + 1 == lines.size() ? " and " : ", ";
        text += before + std::to_string(lines[i]);
    }
    return text;
}

Sentences repeated(const Explanation& key) {
    return forEachFile(key, [](const KeyLayer& layer) {
        const std::vector<int>& ignored = layer.inFile->ignoredLines;
        if (ignored.empty()) {
            return std::string();
        }
        const bool lastCounts = ignored.front() < layer.inFile->line;
        return layer.origin.shownFile + " has it in " + enumerated(ignored) + " too; the " +
               (lastCounts ? "last" : "first") + " one counts, line " + std::to_string(layer.inFile->line) + ".";
    });
}

Sentences markWithoutEffect(const Explanation& key) {
    return forEachFile(key, [&key](const KeyLayer& layer) {
        return !layer.inFile->isMarkedSensitive || key.value.isSensitive
                   ? std::string()
                   : placeOf(layer) + ", marks it as sensitive, which counts in the server's file only.";
    });
}

Sentences lineWithoutColon(const Explanation& key) {
    return forEachFile(key, [&key](const KeyLayer& layer) {
        return !layer.inFile->lacksSeparator || key.isHidden
                   ? std::string()
                   : placeOf(layer) + ", has no colon, so the value is empty.";
    });
}

Sentences hashInValue(const Explanation& key) {
    return forEachFile(key, [&key](const KeyLayer& layer) {
        return !layer.inFile->holdsHash || key.isHidden
                   ? std::string()
                   : placeOf(layer) + ": a \"#\" begins a comment only at the start of a line, so "
                                      "it is part of the value.";
    });
}

}  // namespace

std::string sentenceOnFailure(const std::string& store, const StoreOrigin& origin) {
    const std::string moved = origin.setAside.empty() ? "" : "; the file was moved to " + origin.setAside;
    return failureText(store, origin.shownFile, origin) + moved + ".";
}

std::vector<std::string> notLoaded(const Explanation& key) {
    Sentences sentences;
    for (const KeyLayer& layer : key.layers) {
        const StoreOrigin& origin = layer.origin;
        if (origin.problem.empty() || layer.key != key.lookedUp.front()) {
            continue;
        }
        sentences.push_back(sentenceOnFailure(layer.store, origin));
    }
    return sentences;
}

const std::vector<KeyRule>& fileRules() {
    static const std::vector<KeyRule> rules = {
        notLoaded, setAsideEarlier,   neverFromDocuments, movedVoicemailKey, markup,
        repeated,  markWithoutEffect, lineWithoutColon,   hashInValue,
    };
    return rules;
}

}  // namespace corvidctl
