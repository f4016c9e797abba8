#include "inspecting/WriteRemarks.h"

#include "output/Text.h"

namespace corvidctl {

namespace {

using Sentences = std::vector<std::string>;

void addWinner(const UserWriteView& view, Sentences& remarks) {
    const ValueView& after = view.after;
    if (after.valueStoreName != view.storedIn) {
        remarks.push_back(after.valueStoreName + " still wins, with " + quoted(after.value) + ".");
    } else if (!view.readsAsGiven) {
        remarks.push_back("It still reads as " + quoted(after.value) + ".");
    }
}

void addPolicies(const UserWriteView& view, Sentences& remarks) {
    if (!view.erasedBy.empty()) {
        remarks.push_back("The client erases it when it starts: " + view.erasedBy + ".");
    }
    std::string keys;
    for (const std::string& key : view.erases) {
        keys += (keys.empty() ? "" : ", ") + key;
    }
    if (!keys.empty()) {
        remarks.push_back("The client erases " + keys + " when it starts, since " + view.after.key + " is " +
                          quoted(view.after.value) + ".");
    }
}

void addReplacedCharacters(const UserWriteView& view, bool reveal, Sentences& remarks) {
    if (!view.isKeyWhole) {
        remarks.push_back("XML cannot hold every character of the key; on disk it is " + quoted(view.onDiskKey) + ".");
    }
    if (!view.isValueWhole) {
        const bool isHidden = view.after.isSensitive && !reveal;
        remarks.push_back("XML cannot hold every character of the value; on disk " +
                          (isHidden ? "U+FFFD stands for them." : "it is " + quoted(view.onDiskValue) + "."));
    }
}

}  // namespace

std::vector<std::string> remarksOn(const UserWriteView& view, const std::string& configDirectory, bool reveal) {
    Sentences remarks;
    if (!view.isTaken) {
        return {"No writable store took " + view.after.key + "."};
    }
    if (!view.isErasure) {
        addWinner(view, remarks);
        addPolicies(view, remarks);
        addReplacedCharacters(view, reveal, remarks);
    }
    if (!view.isPersisted) {
        const std::string what = view.isErasure ? " could not be removed from " : " could not be written to ";
        const std::string why = view.whyNotPersisted.empty() ? "" : ": " + view.whyNotPersisted;
        remarks.push_back(view.after.key + what + configDirectory + why + ".");
    }
    return remarks;
}

}  // namespace corvidctl
