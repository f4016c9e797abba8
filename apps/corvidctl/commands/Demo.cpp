#include "ConfigService.h"
#include "ConfigValue.h"
#include "ConfigValueObserver.h"
#include "DataDirectory.h"
#include "Json.h"
#include "LiveWatcher.h"
#include "ProfileCopy.h"
#include "Session.h"
#include "Text.h"
#include "commands/Commands.h"
#include "quill/StringUtils.h"
#include "unified/UnifiedFactory.h"

#include <filesystem>
#include <ostream>
#include <stdexcept>

namespace corvidctl {

namespace {

constexpr const wchar_t* DEMO_KEY = L"LaunchOnSystemStartup";

/// What the demonstration shows: everything before the change, one live object before and after, and what was told.
struct Demonstration {
    std::vector<StoreView> stores;
    std::vector<ValueView> values;
    std::string newValue;
    ValueView before;
    ValueView after;
    std::vector<ChangeView> changes;
};

void observeOneChange(Session& session, Demonstration& demo) {
    std::shared_ptr<LiveWatcher> watcher;
    session.work([&](Session::Inside& inside) {
        demo.stores = inside.reader.stores();
        for (const std::wstring& key : inside.reader.definedKeys()) {
            demo.values.push_back(inside.reader.describe(key));
        }
        const std::shared_ptr<ConfigValue> object = inside.service.getConfig(DEMO_KEY);
        demo.before = inside.reader.describe(*object);

        watcher = std::make_shared<LiveWatcher>(
            inside.chain, session.host().service(), session.host().factory()->getServicesDispatcher(), inside.reader,
            KeySelection({}, inside.reader), [&demo](const ChangeView& change) { demo.changes.push_back(change); });
        watcher->start();

        const std::wstring newValue = object->equals(L"true") ? L"false" : L"true";
        demo.newValue = QuillCoreUtils::toString(newValue);
        object->setConfig(newValue);
        demo.after = inside.reader.describe(*object);
        watcher->stop();
        watcher.reset();
    });
}

const char* whoWrites(const StoreView& store) {
    if (store.isReadOnly) {
        return "the administrator";
    }
    return store.isLocal ? "the client, for this run" : "the user";
}

void printStores(const Demonstration& demo, Output& output) {
    output.out << styled("The stores, in the order in which a key is looked for", Style::Strong, output.colours)
               << "\nThe first that holds the key wins.\n\n";
    Table table({{"PRIORITY", 0, true}, {"STORE", 0}, {"WHO WRITES IT", 0}, {"KEYS", 0, true}});
    for (const StoreView& store : demo.stores) {
        table.addRow({std::to_string(store.priority), store.name, whoWrites(store), std::to_string(store.keys)});
    }
    table.print(output.out, output.colours);
}

void printConfiguration(const Demonstration& demo, Output& output) {
    output.out << '\n'
               << styled("The effective configuration", Style::Strong, output.colours)
               << "\n* marks a key for which the user's value overrides the administrator's.\n\n";
    printValues(output, demo.values);
}

void printProperty(Output& output, const char* meaning, const std::string& before, const std::string& after) {
    output.out << "  " << padded(meaning, 24) << before;
    if (before != after) {
        output.out << " -> " << styled(after, Style::Good, output.colours);
    }
    output.out << '\n';
}

const char* yesOrNo(bool value) { return value ? "yes" : "no"; }

void printChange(const Demonstration& demo, Output& output) {
    output.out << '\n'
               << styled("One live change", Style::Strong, output.colours) << "\nA client holds the live object of "
               << demo.before.key << " and observes it. Now the user sets the key to " << quoted(demo.newValue) << ".\n"
               << (demo.after.value == demo.newValue
                       ? "Nobody reads a file again: the chain reports the change, and the object tells the client:\n\n"
                       : "But a store that comes first holds the key: the user's value waits behind it.\n\n");
    printProperty(output, "value", quoted(demo.before.value), quoted(demo.after.value));
    printProperty(output, "given by the store", escaped(demo.before.valueStoreName),
                  escaped(demo.after.valueStoreName));
    printProperty(output, "administrator's value", quoted(demo.before.originalValue), quoted(demo.after.originalValue));
    printProperty(output, "given by the store", escaped(demo.before.originalValueStoreName),
                  escaped(demo.after.originalValueStoreName));
    printProperty(output, "overridden by the user", yesOrNo(demo.before.isOverridden),
                  yesOrNo(demo.after.isOverridden));
    for (const ChangeView& change : demo.changes) {
        output.out << "\n  told to the client in one report:";
        for (const std::string& property : change.changed) {
            output.out << ' ' << property;
        }
        output.out << '\n';
    }
}

std::string profileToShow(const Invocation& invocation) {
    if (!invocation.configDirectory.empty()) {
        return invocation.host.configDirectory;
    }
    const std::string sample = dataDirectory() + "/sample";
    if (!std::filesystem::is_directory(sample)) {
        throw std::runtime_error("the sample profile is missing: " + sample);
    }
    return sample;
}

}  // namespace

int runDemo(const Invocation& invocation, Output& output) {
    const ProfileCopy profile(profileToShow(invocation));
    Invocation onCopy = invocation;
    onCopy.host.configDirectory = profile.path();

    Demonstration demo;
    Session session(onCopy);
    observeOneChange(session, demo);
    session.finish();

    if (invocation.json) {
        output.out << json::demonstration(demo.values, demo.changes) << '\n';
    } else {
        printStores(demo, output);
        printConfiguration(demo, output);
        printChange(demo, output);
    }
    return Status::Done;
}

}  // namespace corvidctl
