#include "journal/JournalPrinting.h"

#include <algorithm>
#include <ostream>
#include <string>

#include "chain/CacheFiles.h"
#include "journal/History.h"
#include "journal/JournalText.h"
#include "output/Output.h"
#include "output/Text.h"
#include "output/Wrapping.h"

namespace corvidctl {

namespace {

constexpr std::size_t VALUE_COLUMNS = 36;
constexpr std::size_t INDENT = 2;  ///< of a change below its batch

std::string valueText(const std::string& value, const std::string& store) {
    return store.empty() ? "not defined" : quoted(value);
}

Table::Cell valueCell(const std::string& value, const std::string& store, Style style) {
    if (store.empty()) {
        return {"-", Style::Faint};
    }
    return value.empty() ? Table::Cell("(empty)", Style::Faint) : Table::Cell(value, style);
}

/// Where the value comes from now, and where it came from, if that is another store.
std::string storeText(const JournalChange& change) {
    if (change.oldStore.empty() || change.newStore.empty() || change.oldStore == change.newStore) {
        return change.newStore.empty() ? change.oldStore : change.newStore;
    }
    return change.oldStore + " -> " + change.newStore;
}

void printChange(Output& output, const JournalChange& change) {
    const std::string line = escaped(change.key) + ": " + valueText(change.oldValue, change.oldStore) + " -> " +
                             valueText(change.newValue, change.newStore) + " (" + escaped(storeText(change)) + ")";
    if (output.columns != 0 && displayWidth(line) + INDENT > output.columns) {
        output.out << indented(line, INDENT, output.columns);
        return;
    }
    output.out << std::string(INDENT, ' ') << styled(escaped(change.key), Style::Strong, output.colours) << ": "
               << valueText(change.oldValue, change.oldStore) << " -> " << valueText(change.newValue, change.newStore)
               << styled(" (" + escaped(storeText(change)) + ")", Style::Faint, output.colours) << '\n';
}

/// "11 keys, 10 of them only from TFTPConfigStore instead of its kept copy".
std::string countText(const JournalBatch& batch) {
    const std::size_t keys = batch.changes.size();
    std::string text = std::to_string(keys) + (keys == 1 ? " key" : " keys");
    const auto moved = std::count_if(batch.changes.begin(), batch.changes.end(), onlyChangesToTheCopy);
    if (moved == 0) {
        return text;
    }
    const JournalChange& first = *std::find_if(batch.changes.begin(), batch.changes.end(), onlyChangesToTheCopy);
    const bool wasCopy = first.oldStore == CacheFiles::nameFor(first.newStore);
    return text + ", " + std::to_string(moved) + " of them only from " + first.newStore + " instead of " +
           (wasCopy ? "its kept copy" : first.oldStore);
}

}  // namespace

void printBatch(Output& output, const JournalBatch& batch) {
    output.out << styled(journaltext::timeText(batch.time) + "  " + textOf(batch.cause), Style::Heading, output.colours)
               << "  " << escaped(countText(batch)) << '\n';
    for (const JournalChange& change : batch.changes) {
        if (!onlyChangesToTheCopy(change)) {
            printChange(output, change);
        }
    }
}

void printChanges(Output& output, const std::vector<JournalBatch>& batches) {
    Table table({{"TIME (UTC)", 0, false, 19},
                 {"CAUSE", 0, false, 12, 1},
                 {"KEY", 0, false, 16},
                 {"FROM", VALUE_COLUMNS, false, 12},
                 {"TO", VALUE_COLUMNS, false, 12},
                 {"STORE", 0, false, 14, 2}});
    for (const JournalBatch& batch : batches) {
        for (const JournalChange& change : batch.changes) {
            table.addRow({journaltext::shortTimeText(batch.time),
                          textOf(batch.cause),
                          {change.key, Style::Strong},
                          valueCell(change.oldValue, change.oldStore, Style::Plain),
                          valueCell(change.newValue, change.newStore, Style::Strong),
                          storeText(change)});
        }
    }
    table.print(output.out, output.colours, output.columns);
}

}  // namespace corvidctl
