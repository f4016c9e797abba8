#include "commands/Commands.h"
#include "output/Answers.h"
#include "session/Session.h"

#include <ostream>

namespace corvidctl {

int runStores(const Invocation& invocation, Output& output) {
    std::vector<StoreView> views;
    Session session(invocation);
    session.work([&views](Session::Inside& inside) { views = inside.reader.stores(); });
    session.finish();

    if (isForMachines(invocation.format)) {
        output.out << answers::stores(views, invocation.format);
        return Status::Done;
    }
    Table table({{"PRIORITY", 0, true},
                 {"STORE", 0, false, 20},
                 {"ACCESS", 0, false, 9, 1},
                 {"SCOPE", 0, false, 7, 2},
                 {"KEYS", 0, true}});
    for (const StoreView& view : views) {
        table.addRow({std::to_string(view.priority),
                      {view.name, Style::Strong},
                      view.isReadOnly ? "read-only" : "writable",
                      view.isLocal ? "local" : "profile",
                      std::to_string(view.keys)});
    }
    table.print(output.out, output.colours, output.columns);
    return Status::Done;
}

}  // namespace corvidctl
