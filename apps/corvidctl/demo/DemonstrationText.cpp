#include "demo/DemonstrationText.h"

#include <algorithm>
#include <ostream>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "demo/DetourStore.h"
#include "demo/SampleServer.h"
#include "output/Text.h"
#include "quill/StringUtils.h"

namespace corvidctl {

namespace {

const char* yesOrNo(bool value) { return value ? "yes" : "no"; }

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

/// The parts of the text share the numbering of their headings.
class Printer {
public:
    Printer(const DemonstrationView& view, Output& output) : view_(view), output_(output), out_(output.out) {}

    void print() {
        printServer();
        printClient();
        printFetch();
        printConfiguration();
        printServerChange();
        printUserChange();
        out_ << "\nAll of it happened in temporary folders, which are gone again.\n";
    }

private:
    void heading(const std::string& text) {
        out_ << (step_ == 1 ? "" : "\n") << styled(std::to_string(step_) + ". " + text, Style::Strong, output_.colours)
             << '\n';
        ++step_;
    }

    void printServer() {
        heading("A call-control server starts on this machine, at " + view_.server);
        out_ << "It holds the administrator's file, " << SampleServer::FILE_NAME << ", and says that its version is "
             << SampleServer::VERSION
             << ".\nIts certificate is of a throw-away authority, which the client is told to trust (--ca-file).\n";
    }

    void printClient() {
        heading("A client starts with what is on its disk");
        printWhoNamesTheServer();
        out_ << "Nobody has been asked yet"
             << (hasCachedCopy() ? ": the last server's file counts, as kept in the cache" : "")
             << ".\nA key is looked for in these stores, in this order; the first that holds it wins.\n\n";
        Table table(
            {{"PRIORITY", 0, true}, {"STORE", 0, false, 20}, {"WHO WRITES IT", 0, false, 16}, {"KEYS", 0, true}});
        for (const StoreView& store : view_.stores) {
            table.addRow({std::to_string(store.priority), store.name, whoWrites(store), std::to_string(store.keys)});
        }
        table.print(out_, output_.colours, output_.columns);
    }

    void printWhoNamesTheServer() {
        if (view_.namesServers) {
            out_ << "The profile names servers of its own. They are not asked: a store ahead of all others leads to "
                    "this one.\n";
        } else if (view_.isDetour) {
            out_ << "The installer's file names the server. The profile tells another version, or another file; a "
                    "store ahead of all\nothers tells this server's.\n";
        } else {
            out_ << "The installer's file names the server.\n";
        }
    }

    bool hasCachedCopy() const {
        const std::string copy = CacheFiles::nameFor(ConfigStoreConstants::TFTP_CONFIG_STORE_NAME);
        return std::any_of(view_.stores.begin(), view_.stores.end(), [&copy](const StoreView& store) {
            return QuillCoreUtils::caseInsensitiveStringEquals(store.name, copy) && store.keys > 0;
        });
    }

    static const char* whoWrites(const StoreView& store) {
        if (store.name == DetourStore::NAME) {
            return "this demonstration";
        }
        if (store.isReadOnly) {
            return "the administrator";
        }
        return store.isLocal ? "the client, for this run" : "the user";
    }

    void printFetch() {
        heading("The client fetches the server's file (corvidctl fetch)");
        const FetchView& fetch = view_.fetch;
        out_ << "version   " << escaped(fetch.version) << ", " << escaped(fetch.versionSource)
             << ": from 11 on the file "
             << "travels over HTTPS\n"
             << "file      " << escaped(fetch.url) << ", " << fetch.keys << " keys\n";
        if (!view_.storesThatCame.empty()) {
            out_ << "stores    " << escaped(joined(view_.storesThatCame)) << " joins";
            out_ << (view_.storesThatWent.empty() ? "" : ", " + escaped(joined(view_.storesThatWent)) + " leaves");
            out_ << "; a copy without the secrets is kept for the next start\n";
        }
        out_ << "client    told of " << view_.changesOfFetch << " changes of its live values\n";
    }

    void printConfiguration() {
        heading("The effective configuration now (corvidctl list)");
        out_ << "* marks a key for which a writable store comes before the administrator's: the user's file, or the "
                "client's memory for this run.\n\n";
        printValues(output_, view_.values);
    }

    void printServerChange() {
        heading("The administrator changes the file on the server, and the client fetches it again");
        for (const EditView& edit : view_.edits) {
            out_ << edit.key << " becomes " << quoted(edit.value) << ".\n";
        }
        if (view_.serverChanges.empty()) {
            out_ << "No live value changes: stores that come first hold these keys.\n";
            return;
        }
        out_ << '\n';
        Table table({{"KEY", 0, false, 32},
                     {"VALUE", 0, false, 16},
                     {"STORE", 0, false, 11, 2},
                     {"ADMINISTRATOR'S VALUE", 0, false, 16},
                     {"TOLD TO THE CLIENT", 0, false, 16, 1}});
        for (const TransitionView& transition : view_.serverChanges) {
            const ValueView& before = transition.before;
            const ValueView& after = transition.after.value;
            table.addRow({before.key.empty() ? after.key : before.key, change(before.value, after.value),
                          after.valueStoreName, change(before.originalValue, after.originalValue),
                          joined(transition.after.changed)});
        }
        table.print(out_, output_.colours, output_.columns);
    }

    static Table::Cell change(const std::string& before, const std::string& after) {
        return before == after ? Table::Cell(after) : Table::Cell(before + " -> " + after, Style::Good);
    }

    void printUserChange() {
        heading("The user sets " + escaped(view_.before.key) + " to " + quoted(view_.userValue));
        out_
            << (view_.after.value == view_.userValue
                    ? "Nobody reads a file again: the chain reports the change, and the live object tells the client:\n"
                    : "But a store that comes first holds the key: the user's value waits behind it.\n");
        printProperty("value", quoted(view_.before.value), quoted(view_.after.value));
        printProperty("given by the store", escaped(view_.before.valueStoreName), escaped(view_.after.valueStoreName));
        printProperty("administrator's value", quoted(view_.before.originalValue), quoted(view_.after.originalValue));
        printProperty("given by the store", escaped(view_.before.originalValueStoreName),
                      escaped(view_.after.originalValueStoreName));
        printProperty("overridden by the user", yesOrNo(view_.before.isOverridden), yesOrNo(view_.after.isOverridden));
        for (const ChangeView& told : view_.userChanges) {
            out_ << "  " << padded("told in one report", 24) << joined(told.changed) << '\n';
        }
    }

    void printProperty(const char* meaning, const std::string& before, const std::string& after) {
        out_ << "  " << padded(meaning, 24) << before;
        if (before != after) {
            out_ << " -> " << styled(after, Style::Good, output_.colours);
        }
        out_ << '\n';
    }

    const DemonstrationView& view_;
    Output& output_;
    std::ostream& out_;
    int step_ = 1;
};

}  // namespace

void printDemonstration(const DemonstrationView& view, Output& output) { Printer(view, output).print(); }

}  // namespace corvidctl
