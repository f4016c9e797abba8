#include "journal/JournalPrinting.h"

#include <ostream>
#include <string>

#include "journal/JournalText.h"
#include "output/Output.h"
#include "output/Text.h"

namespace corvidctl {

namespace {

constexpr std::size_t VALUE_COLUMNS = 36;

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
    output.out << "  " << styled(escaped(change.key), Style::Strong, output.colours) << ": "
               << valueText(change.oldValue, change.oldStore) << " -> " << valueText(change.newValue, change.newStore)
               << styled(" (" + escaped(storeText(change)) + ")", Style::Faint, output.colours) << '\n';
}

}  // namespace

void printBatch(Output& output, const JournalBatch& batch) {
    const std::size_t keys = batch.changes.size();
    output.out << styled(journaltext::timeText(batch.time) + "  " + textOf(batch.cause), Style::Heading, output.colours)
               << "  " << keys << (keys == 1 ? " key\n" : " keys\n");
    for (const JournalChange& change : batch.changes) {
        printChange(output, change);
    }
}

void printChanges(Output& output, const std::vector<JournalBatch>& batches) {
    Table table({{"TIME", 0, false, 24},
                 {"CAUSE", 0, false, 12, 1},
                 {"KEY", 0, false, 18},
                 {"FROM", VALUE_COLUMNS, false, 12},
                 {"TO", VALUE_COLUMNS, false, 12},
                 {"STORE", 0, false, 14, 2}});
    for (const JournalBatch& batch : batches) {
        for (const JournalChange& change : batch.changes) {
            table.addRow({journaltext::timeText(batch.time),
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
