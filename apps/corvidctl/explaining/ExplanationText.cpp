#include "explaining/ExplanationText.h"

#include <algorithm>
#include <ostream>
#include <string_view>

#include "ConfigStoreConstants.h"
#include "explaining/KeyRules.h"
#include "output/Text.h"
#include "reading/ClientKeys.h"

namespace corvidctl {

namespace {

constexpr std::size_t VALUE_COLUMNS = 60;
constexpr std::size_t STACK_VALUE_COLUMNS = 36;
constexpr const char* THIS_RUN = "this run";
constexpr const char* FAILED = "failed to load";

/// A state is read at a glance or not at all: the longest one is never cut.
constexpr std::size_t STATE_COLUMNS = std::string_view(FAILED).size();

/// What kind of copy the values are; empty for a file of the store's own.
std::string kindOf(const StoreOrigin& origin) {
    if (origin.isCached) {
        return "cached";
    }
    return origin.isLive ? "live" : "";
}

std::string kindOf(const KeyLayer& layer) {
    const std::string copy = kindOf(layer.origin);
    return std::string(layer.isReadOnly ? "read-only" : "writable") + (layer.isLocal ? ", local" : ", profile") +
           (copy.empty() ? "" : ", " + copy);
}

Table::Cell stateCell(const KeyLayer& layer) {
    switch (layer.state) {
    case LayerState::Wins:
        return {nameOf(layer.state), Style::Good};
    case LayerState::Ignored:
        return {nameOf(layer.state), Style::Warning};
    case LayerState::Failed:
        return {FAILED, Style::Bad};
    case LayerState::Shadowed:
    case LayerState::Absent:
        break;
    }
    return {nameOf(layer.state), Style::Faint};
}

Table::Cell valueCell(const KeyLayer& layer) {
    if (!layer.holdsKey) {
        return {"-", Style::Faint};
    }
    return {layer.value.empty() ? "(empty)" : layer.value, layer.wins ? Style::Good : Style::Plain};
}

/// The file, or the URL where there is no file; the client's memory has neither.
std::string placeOf(const StoreOrigin& origin, const std::string& store) {
    if (origin.file.empty() && !origin.url.empty()) {
        return origin.url;
    }
    return store == ConfigStoreConstants::IN_MEMORY_CONFIG_STORE_NAME ? THIS_RUN : origin.shownFile;
}

std::string withLine(const std::string& place, int line) {
    return line == 0 || place.empty() ? place : place + ":" + std::to_string(line);
}

Table::Cell placeCell(const KeyLayer& layer) {
    const std::string place = placeOf(layer.origin, layer.store);
    if (layer.inFile) {
        return withLine(place, layer.inFile->line);
    }
    if (layer.state == LayerState::Failed) {
        return withLine(place, layer.origin.problemLine);
    }
    return {layer.origin.isMissing ? place + ", missing" : place, layer.holdsKey ? Style::Plain : Style::Faint};
}

std::string ageOf(const StoreOrigin& origin, Moment now) { return origin.time ? ageText(*origin.time, now) : ""; }

void printLayers(const Explanation& key, Moment now, Output& output) {
    Table table({{"STATE", 0, false, STATE_COLUMNS},
                 {"PRIORITY", 0, true, 8, 3},
                 {"STORE", 0, false, 20},
                 {"KIND", 0, false, 9, 4},
                 {"VALUE", VALUE_COLUMNS, false, 12},
                 {"WHERE", 0, false, 18, 1, true},
                 {"AGE", 0, false, 8, 2}});
    for (const KeyLayer& layer : key.layers) {
        if (layer.key != key.lookedUp.back()) {
            continue;  // no store holds it under the first name
        }
        table.addRow({stateCell(layer),
                      std::to_string(layer.priority),
                      {layer.store, layer.wins ? Style::Good : Style::Plain},
                      {kindOf(layer), Style::Faint},
                      valueCell(layer),
                      placeCell(layer),
                      {ageOf(layer.origin, now), Style::Faint}});
    }
    table.print(output.out, output.colours, output.columns);
}

const KeyLayer* winnerOf(const Explanation& key) {
    const auto winner =
        std::find_if(key.layers.begin(), key.layers.end(), [](const KeyLayer& layer) { return layer.wins; });
    return winner == key.layers.end() ? nullptr : &*winner;
}

/// Where the layer has its value, and whether the user can change it: a narrow terminal may leave both out of the
/// table.
std::string inBrackets(const KeyLayer& layer) {
    const std::string place = !layer.inFile || layer.origin.shownFile.empty()
                                  ? std::string()
                                  : layer.origin.shownFile + ", line " + std::to_string(layer.inFile->line) + "; ";
    return " (" + place + (layer.isReadOnly ? "read-only" : "writable") + ")";
}

bool isInMemory(const KeyLayer& layer) { return layer.store == ConfigStoreConstants::IN_MEMORY_CONFIG_STORE_NAME; }

/// What a writable store that wins means for the administrator's value. Where there is one that is not told, nothing is
/// said of it.
std::string onOverride(const Explanation& key, const KeyLayer& winner, const std::string& original) {
    if (key.value.hasUntoldOriginal) {
        if (isInMemory(winner)) {
            return "It is set for this run.";
        }
        return isKeptByClient(key.value.key) ? "The client has stored it." : "The user has set it.";
    }
    if (isInMemory(winner)) {
        return original.empty() ? "It is set for this run only; the administrator has not set it."
                                : "It is set for this run, over the administrator's " + original + ".";
    }
    if (isKeptByClient(key.value.key)) {
        return original.empty() ? "The client has stored it; the administrator has not set it."
                                : "The client has stored it, over the administrator's " + original + ".";
    }
    return original.empty() ? "Only the user has set it; the administrator has not."
                            : "The user overrides the administrator's " + original + ".";
}

std::vector<std::string> administratorsPart(const Explanation& key) {
    const ValueView& value = key.value;
    const KeyLayer* const winner = winnerOf(key);
    const std::string original = value.originalValueStoreName.empty()
                                     ? std::string()
                                     : quoted(value.originalValue) + ", from " + value.originalValueStoreName;
    if (value.isOverridden && winner != nullptr && !winner->isReadOnly) {
        return {onOverride(key, *winner, original)};
    }
    std::vector<std::string> sentences;
    if (value.isOverridden) {
        sentences.emplace_back("It counts as overridden, although it is not the user's value that wins.");
    }
    if (!original.empty()) {
        const bool wins = !value.isOverridden && value.originalValueStoreName == value.valueStoreName;
        sentences.push_back(wins ? "That is the administrator's value."
                                 : "The administrator's value is " + original + ".");
    }
    return sentences;
}

/// What waits in the writable stores behind the value that wins.
std::vector<std::string> waitingPart(const Explanation& key) {
    if (!key.value.shadowsUser) {
        return {};
    }
    const auto waits = [](const KeyLayer& layer) { return layer.state == LayerState::Shadowed && !layer.isReadOnly; };
    const auto waitsInMemory = [&waits](const KeyLayer& layer) { return waits(layer) && isInMemory(layer); };
    const auto countMemory = std::count_if(key.layers.begin(), key.layers.end(), waitsInMemory);
    const auto countAll = std::count_if(key.layers.begin(), key.layers.end(), waits);
    std::vector<std::string> sentences;
    if (countAll > countMemory) {
        sentences.emplace_back("The user's value waits behind it.");
    }
    if (countMemory > 0) {
        sentences.emplace_back("What is set for this run waits behind it.");
    }
    return sentences;
}

void append(std::vector<std::string>& sentences, std::vector<std::string> more) {
    std::move(more.begin(), more.end(), std::back_inserter(sentences));
}

void printSentences(const std::vector<std::string>& sentences, Output& output) {
    for (const std::string& sentence : sentences) {
        printSentences(output, escaped(sentence) + '\n');
    }
}

}  // namespace

std::vector<std::string> verdictOn(const Explanation& key) {
    const ValueView& value = key.value;
    const KeyLayer* const winner = winnerOf(key);
    std::vector<std::string> sentences = {
        value.isDefined ? value.key + " is " + quoted(value.value) + ", from " + value.valueStoreName +
                              (winner == nullptr ? "" : inBrackets(*winner)) +
                              ": it has the smallest priority number of the stores that hold the key."
                        : value.key + " is not defined: no store holds it."};
    append(sentences, administratorsPart(key));
    append(sentences, waitingPart(key));
    return sentences;
}

void print(const Explanation& key, Moment now, Output& output) {
    printLayers(key, now, output);
    printSentences(verdictOn(key), output);
    printSentences(key.rules, output);
}

void print(const std::vector<Explanation>& keys, Output& output) {
    Table table({{"KEY", 0, false, 18},
                 {"STATE", 0, false, STATE_COLUMNS},
                 {"VALUE", STACK_VALUE_COLUMNS, false, 12},
                 {"STORE", 0, false, 14},
                 {"WHERE", 0, false, 9, 0, true}});
    for (const Explanation& key : keys) {
        bool isFirst = true;
        for (const KeyLayer& layer : key.layers) {
            if (layer.state == LayerState::Absent || layer.state == LayerState::Failed) {
                continue;
            }
            table.addRow({{isFirst ? key.value.key : "", Style::Strong},
                          stateCell(layer),
                          valueCell(layer),
                          layer.store,
                          placeCell(layer)});
            isFirst = false;
        }
        for (const HiddenPlace& place : key.heldUnderOldName) {
            table.addRow({"",
                          {"not tried", Style::Faint},
                          {"-", Style::Faint},
                          place.store,
                          withLine(place.file, place.line) + ", as " + key.oldName});
        }
    }
    table.print(output.out, output.colours, output.columns);
    // The same stores stand behind every key.
    printSentences(keys.empty() ? std::vector<std::string>() : notLoaded(keys.front()), output);
}

void print(const std::vector<StoreReport>& stores, Moment now, Output& output) {
    Table table({{"PRIORITY", 0, true},
                 {"STORE", 0, false, 20},
                 {"ACCESS", 0, false, 9, 3},
                 {"SCOPE", 0, false, 7, 5},
                 {"COPY", 0, false, 6, 4},
                 {"STATE", 0},
                 {"KEYS", 0, true},
                 {"WINS", 0, true, 4, 1},
                 {"WHERE", 0, false, 18, 2, true},
                 {"AGE", 0}});
    for (const StoreReport& store : stores) {
        const bool failed = store.state == StoreState::Failed;
        table.addRow({std::to_string(store.priority),
                      {store.name, Style::Strong},
                      store.isReadOnly ? "read-only" : "writable",
                      store.isLocal ? "local" : "profile",
                      kindOf(store.origin),
                      {nameOf(store.state), failed ? Style::Bad : Style::Plain},
                      std::to_string(store.keys),
                      std::to_string(store.wins),
                      withLine(placeOf(store.origin, store.name), store.origin.problemLine),
                      {ageOf(store.origin, now), Style::Faint}});
    }
    table.print(output.out, output.colours, output.columns);
    for (const StoreReport& store : stores) {
        if (store.state == StoreState::Failed) {
            const std::string moved =
                store.origin.setAside.empty() ? "" : "; the file was moved to " + store.origin.setAside;
            output.out << escaped(store.name + " failed to load: " + store.origin.problem + moved + ".") << '\n';
        }
        if (store.origin.isCached && !store.origin.url.empty()) {
            printSentences({sentenceOnCopy(store.name, store.origin) + "."}, output);
        }
    }
}

}  // namespace corvidctl
