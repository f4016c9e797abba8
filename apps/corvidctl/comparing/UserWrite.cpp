#include "comparing/UserWrite.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "ConfigFeatureSet.h"
#include "ConfigStoreConstants.h"
#include "comparing/LocalFile.h"
#include "comparing/PolicyErasure.h"
#include "comparing/Rehearsal.h"
#include "output/Answers.h"
#include "output/MachineText.h"
#include "output/Text.h"
#include "quill/StringUtils.h"
#include "session/ProfileCopy.h"
#include "xml/XmlCharacters.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::caseInsensitiveStringEquals;
using QuillCoreUtils::toString;
using QuillCoreUtils::toWideString;

/// A text as it comes back from a wide one, with what is no UTF-8 replaced.
std::string asStored(const std::string& text) { return toString(toWideString(text)); }

bool readsTheSame(const ValueView& a, const ValueView& b) {
    return a.isDefined == b.isDefined && a.value == b.value && a.valueStoreName == b.valueStoreName;
}

void store(const Invocation& invocation, Session::Inside& inside, UserWriteView& view) {
    const std::wstring key = toWideString(invocation.arguments[0]);
    const std::string& value = invocation.arguments[1];
    const std::vector<std::string> userStores = inside.reader.userStores();
    const ChainReader inClear(inside.chain, true);
    view.before = inside.reader.describe(key);
    view.storedIn = userStores.empty() ? std::string() : userStores.front();
    view.isTaken = inside.featureSet.setConfig(key, toWideString(value));
    view.after = inside.reader.describe(key);
    view.readsAsGiven = inClear.describe(key).value == asStored(value);
    view.erasedBy = policyAgainst(key, inside.reader);
    view.erases = keysErasedBy(key, inside.reader);
    view.onDiskKey = toXmlText(key).text;
    view.onDiskValue = toXmlText(toWideString(value)).text;
    view.isKeyWhole = view.onDiskKey == invocation.arguments[0];
    view.isValueWhole = view.onDiskValue == value;
    view.isEffective = view.isTaken && view.after.valueStoreName == view.storedIn && view.readsAsGiven &&
                       view.erasedBy.empty() && view.isKeyWhole && view.isValueWhole;
}

void erase(const Invocation& invocation, Session::Inside& inside, UserWriteView& view) {
    const std::wstring key = toWideString(invocation.arguments[0]);
    const ChainReader inClear(inside.chain, true);
    const ValueView before = inClear.describe(key);
    view.isErasure = true;
    view.before = inside.reader.describe(key);
    view.removedFrom = inside.reader.writableHolders(key);
    inside.featureSet.resetConfig(key);
    view.after = inside.reader.describe(key);
    view.isEffective = !readsTheSame(before, inClear.describe(key));
}

using Write = void (*)(const Invocation&, Session::Inside&, UserWriteView&);

bool isInLocalFile(const UserWriteView& view) {
    const auto isLocalFile = [](const std::string& store) {
        return caseInsensitiveStringEquals(store, ConfigStoreConstants::LOCAL_FILE_STORE_NAME);
    };
    return isLocalFile(view.storedIn) || std::any_of(view.removedFrom.begin(), view.removedFrom.end(), isLocalFile);
}

UserWriteView run(Write write, const Invocation& invocation) {
    const std::string& directory = invocation.host.configDirectory;
    UserWriteView view;
    view.brokenFile = whyBroken(directory);
    Session session(invocation);
    session.work([&](Session::Inside& inside) { write(invocation, inside, view); });
    view.isPersisted = session.finish();
    view.whyNotPersisted = view.isPersisted ? std::string() : whyNotWritable(directory);
    view.file = isInLocalFile(view) ? localFileOf(directory) : std::string();
    return view;
}

}  // namespace

UserWriteView storeUserValue(const Invocation& invocation) { return run(store, invocation); }

UserWriteView eraseUserValue(const Invocation& invocation) { return run(erase, invocation); }

UserWriteView rehearse(UserWriteView (*write)(const Invocation&), const Invocation& invocation, Output& output) {
    const std::string& directory = invocation.host.configDirectory;
    UserWriteView view;
    Rehearsal rehearsal(output);
    rehearsal.run("trying it on a copy …", [&] {
        const ExitOnInterruption exit = rehearsal.endingOnTheSpot();
        const ProfileCopy copy(directory);
        view = write(Rehearsal::onCopy(invocation, copy.path()));
    });
    if (!view.file.empty()) {
        view.file = localFileOf(directory);
        view.whyNotPersisted = whyNotWritable(directory);
        view.isPersisted = view.isPersisted && view.whyNotPersisted.empty();
    }
    view.dryRun = true;
    return view;
}

std::string answers::userWrite(const UserWriteView& view, Format format) {
    Json json = valueObject(view.after);
    if (view.isErasure) {
        json["removedFrom"] = view.removedFrom;
    } else {
        json["storedIn"] = view.storedIn.empty() ? Json(nullptr) : Json(view.storedIn);
    }
    json["isEffective"] = view.isEffective;
    json["isPersisted"] = view.isPersisted;
    json["file"] = view.file.empty() ? Json(nullptr) : Json(view.file);
    json["dryRun"] = view.dryRun;
    return printed(json, format);
}

}  // namespace corvidctl
