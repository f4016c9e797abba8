#include "comparing/UserWrite.h"

#include <algorithm>
#include <functional>
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

bool isInLocalFile(const UserWriteView& view) {
    const auto isLocalFile = [](const std::string& store) {
        return caseInsensitiveStringEquals(store, ConfigStoreConstants::LOCAL_FILE_STORE_NAME);
    };
    return isLocalFile(view.storedIn) || std::any_of(view.removedFrom.begin(), view.removedFrom.end(), isLocalFile);
}

UserWriteView run(const std::function<UserWriteView(Session::Inside&)>& write, const Invocation& invocation) {
    const std::string& directory = invocation.host.configDirectory;
    const std::string brokenFile = whyBroken(directory);
    UserWriteView view;
    Session session(invocation);
    session.work([&](Session::Inside& inside) { view = write(inside); });
    view.brokenFile = brokenFile;
    noteDisk(session.finish(), directory, view);
    return view;
}

}  // namespace

UserWriteView storeUserValue(Session::Inside& inside, const std::string& name, const std::string& value) {
    const std::wstring key = toWideString(name);
    const std::vector<std::string> userStores = inside.reader.userStores();
    const ChainReader inClear(inside.chain, true);
    UserWriteView view;
    view.before = inside.reader.describe(key);
    view.isUnderOldName = !caseInsensitiveStringEquals(key, inside.reader.currentName(key));
    view.storedIn = userStores.empty() ? std::string() : userStores.front();
    view.isTaken = inside.featureSet.setConfig(key, toWideString(value));
    view.after = inside.reader.describe(key);
    view.readsAsGiven = inClear.describe(key).value == asStored(value);
    view.erasedBy = policyAgainst(key, inside.reader);
    view.erases = keysErasedBy(key, inside.reader);
    view.onDiskKey = toXmlText(key).text;
    view.onDiskValue = toXmlText(toWideString(value)).text;
    view.isKeyWhole = view.onDiskKey == name;
    view.isValueWhole = view.onDiskValue == value;
    view.isEffective = view.isTaken && view.after.valueStoreName == view.storedIn && view.readsAsGiven &&
                       view.erasedBy.empty() && view.isKeyWhole && view.isValueWhole;
    return view;
}

UserWriteView eraseUserValue(Session::Inside& inside, const std::string& name) {
    const std::wstring key = toWideString(name);
    const ChainReader inClear(inside.chain, true);
    const ValueView before = inClear.describe(key);
    UserWriteView view;
    view.isErasure = true;
    view.before = inside.reader.describe(key);
    view.removedFrom = inside.reader.writableHolders(key);
    inside.featureSet.resetConfig(key);
    view.after = inside.reader.describe(key);
    view.isEffective = !readsTheSame(before, inClear.describe(key));
    return view;
}

void noteDisk(bool isPersisted, const std::string& configDirectory, UserWriteView& view) {
    view.isPersisted = isPersisted;
    view.whyNotPersisted = isPersisted ? std::string() : whyNotWritable(configDirectory);
    view.file = isInLocalFile(view) ? localFileOf(configDirectory) : std::string();
}

UserWriteView storeUserValue(const Invocation& invocation) {
    return run(
        [&](Session::Inside& inside) {
            return storeUserValue(inside, invocation.arguments[0], invocation.arguments[1]);
        },
        invocation);
}

UserWriteView eraseUserValue(const Invocation& invocation) {
    return run([&](Session::Inside& inside) { return eraseUserValue(inside, invocation.arguments[0]); }, invocation);
}

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

Json answers::userWriteObject(const UserWriteView& view) {
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
    return json;
}

std::string answers::userWrite(const UserWriteView& view, Format format) {
    return printed(userWriteObject(view), format);
}

}  // namespace corvidctl
