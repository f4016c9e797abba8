#include "inspecting/ClientLook.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

#include "ConfigStoreConstants.h"
#include "ServerPolicy.h"
#include "explaining/Explainer.h"
#include "quill/StringUtils.h"
#include "session/AllKeys.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::toString;
using QuillCoreUtils::toWideString;

/// Those whose files cannot be read, now or when the client started.
std::vector<FailedStore> failedStores(StoreSources now, StoreSources atStart) {
    std::vector<FailedStore> failed;
    std::set<std::string> told;
    for (StoreSources* const sources : {&now, &atStart}) {
        for (const std::string& store : sources->failedStores()) {
            if (told.insert(store).second) {
                failed.push_back({store, sources->of(store).origin});
            }
        }
    }
    return failed;
}

HiddenPlace placeOf(const std::string& store, const std::wstring& key, const ChainReader& reader,
                    StoreSources& sources) {
    const StoreSource& source = sources.of(store);
    HiddenPlace place = {store, source.origin.shownFile, 0};
    for (const std::wstring& name : reader.names().namesInOrder(key)) {
        if (const KeySource* const entry = findKey(source, name); entry != nullptr && place.line == 0) {
            place.line = entry->line;
        }
    }
    return place;
}

/// The user's values that another store's come before; what the client itself holds in memory is none.
std::vector<WaitingValue> waitingValues(const std::vector<ValueView>& values, const ChainReader& reader,
                                        StoreSources& sources) {
    const std::vector<std::string> userStores = reader.userStores();
    std::vector<WaitingValue> waiting;
    for (const ValueView& value : values) {
        if (!value.shadowsUser) {
            continue;
        }
        const std::wstring key = toWideString(value.key);
        for (const std::string& holder : reader.writableHolders(key)) {
            const bool isUsers = std::find(userStores.begin(), userStores.end(), holder) != userStores.end();
            if (isUsers && holder != value.valueStoreName) {
                waiting.push_back({value.key, value.valueStoreName, placeOf(holder, key, reader, sources)});
            }
        }
    }
    return waiting;
}

std::vector<ForbiddenKey> forbiddenKeys(const Explainer& explainer, const ChainReader& reader, StoreSources& sources) {
    std::vector<ForbiddenKey> keys;
    std::set<std::wstring> told;
    for (const ServerPolicy& policy : serverPolicies()) {
        for (const std::wstring& erased : policy.erasedKeys) {
            const std::wstring key = reader.currentName(erased);
            if (!told.insert(key).second) {
                continue;
            }
            std::optional<ForbiddingPolicy> forbidding = explainer.policyAgainst(key);
            if (!forbidding) {
                continue;
            }
            ForbiddenKey forbidden = {toString(key), std::move(*forbidding), {}};
            for (const std::string& holder : reader.writableHolders(key)) {
                forbidden.set.push_back(placeOf(holder, key, reader, sources));
            }
            keys.push_back(std::move(forbidden));
        }
    }
    return keys;
}

}  // namespace

KeyList ClientLook::keys() const {
    KeyList list;
    client_.session().work([&](Session::Inside& inside) {
        for (const std::wstring& key : allKeys(inside)) {
            list.values.push_back(inside.reader.describe(key));
        }
        for (const StoreView& store : inside.reader.stores()) {
            if (!store.isReadOnly) {
                list.writableStores.insert(store.name);
            }
        }
        list.lastBatch = client_.journal().lastNumber();
    });
    return list;
}

Explanation ClientLook::explain(const std::string& key) const {
    StoreSources sources = client_.files().now(client_.downloads());
    Explanation explanation;
    client_.session().work([&](Session::Inside& inside) {
        explanation = Explainer(inside.chain, inside.reader, sources, reveal_).explain(toWideString(key));
    });
    return explanation;
}

std::vector<ClientLook::Store> ClientLook::stores() const {
    StoreSources sources = client_.files().now(client_.downloads());
    std::vector<Store> stores;
    client_.session().work([&](Session::Inside& inside) {
        const Explainer explainer(inside.chain, inside.reader, sources, reveal_);
        const std::vector<ValueView> values = inside.reader.definedValues();
        std::map<std::string, std::size_t> winsOver = explainer.winsOverOthers(values);
        for (StoreReport& report : explainer.stores(values)) {
            const std::size_t over = winsOver[report.name];
            stores.push_back({std::move(report), over});
        }
    });
    return stores;
}

ServerView ClientLook::server() const {
    ServerView view;
    // In this order: what has settled is in the record.
    view.settled = client_.isSettled();
    view.downloads = client_.downloads();
    view.last = lastFetch(view.downloads, view.settled, client_.versionBefore());
    client_.session().work([&view](Session::Inside& inside) {
        for (const std::wstring& key : serverKeys()) {
            if (ValueView server = inside.reader.describe(key); !server.value.empty()) {
                view.servers.push_back(std::move(server));
            }
        }
        view.version = inside.reader.describe(ConfigStoreConstants::HOME_UDS_VERSION);
        view.file = inside.reader.describe(ConfigStoreConstants::CONFIGURATION_FILE_KEY).value;
    });
    if (view.file.empty()) {
        view.file = toString(ConfigStoreConstants::DEFAULT_TFTP_CONFIGURATION_FILE_NAME);
    }
    return view;
}

ProblemFacts ClientLook::problems() const {
    ProblemFacts facts;
    facts.configDirectory = client_.configDirectory();
    facts.isOnDisk = client_.session().persist();
    facts.lostCopy = client_.lostCopy();
    facts.server = server();
    StoreSources sources = client_.files().now(client_.downloads());
    facts.failed = failedStores(sources, client_.files().atStart());
    client_.session().work([&](Session::Inside& inside) {
        const Explainer explainer(inside.chain, inside.reader, sources, reveal_);
        const std::vector<ValueView> values = inside.reader.definedValues();
        facts.stores = explainer.stores(values);
        facts.waiting = waitingValues(values, inside.reader, sources);
        facts.forbidden = forbiddenKeys(explainer, inside.reader, sources);
    });
    return facts;
}

}  // namespace corvidctl
