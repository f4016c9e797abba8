#include "Json.h"
#include "Session.h"
#include "commands/Commands.h"

#include <ostream>

namespace corvidctl {

int runStores(const Invocation& invocation, Output& output) {
    std::vector<StoreView> views;
    Session session(invocation);
    session.work([&views](Session::Inside& inside) { views = inside.reader.stores(); });
    session.finish();

    if (invocation.json) {
        output.out << json::stores(views) << '\n';
        return Status::Done;
    }
    Table table({{"PRIORITY", 0, true}, {"STORE", 0}, {"ACCESS", 0}, {"SCOPE", 0}, {"KEYS", 0, true}});
    for (const StoreView& view : views) {
        table.addRow({std::to_string(view.priority),
                      {view.name, Style::Strong},
                      view.isReadOnly ? "read-only" : "writable",
                      view.isLocal ? "local" : "profile",
                      std::to_string(view.keys)});
    }
    table.print(output.out, output.colours);
    return Status::Done;
}

}  // namespace corvidctl
