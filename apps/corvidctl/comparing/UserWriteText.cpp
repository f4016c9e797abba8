#include "comparing/UserWriteText.h"

#include "comparing/LocalFile.h"
#include "quill/StringUtils.h"
#include "validating/ShownKey.h"

namespace corvidctl {

std::vector<std::string> sentencesOnWinner(const UserWriteView& view) {
    const ValueView& after = view.after;
    if (after.valueStoreName != view.storedIn) {
        const char* const wins = view.dryRun ? " would still win, with " : " still wins, with ";
        return {after.valueStoreName + wins + quoted(after.value) + "."};
    }
    if (view.readsAsGiven) {
        return {};
    }
    const std::string reads = view.dryRun ? "It would still read as " : "It still reads as ";
    std::vector<std::string> sentences = {reads + quoted(after.value) + "."};
    if (view.isUnderOldName) {
        sentences.push_back("What the store holds under " + after.key + " comes first.");
    }
    return sentences;
}

std::string sentenceOnEndangered(const UserWriteView& view) {
    const std::string erases = view.dryRun ? "The client would erase it" : "The client erases it";
    return view.erasedBy.empty() ? std::string() : erases + " when it starts: " + view.erasedBy + ".";
}

std::string sentenceOnErased(const UserWriteView& view) {
    std::string keys;
    for (const std::string& key : view.erases) {
        keys += (keys.empty() ? "" : ", ") + key;
    }
    const std::string erases = view.dryRun ? "The client would erase " : "The client erases ";
    return keys.empty()
               ? std::string()
               : erases + keys + " when it starts, since " + view.after.key + " is " + quoted(view.after.value) + ".";
}

std::vector<std::string> sentencesOnReplacedCharacters(const UserWriteView& view, bool reveal) {
    std::vector<std::string> sentences;
    if (!view.isKeyWhole) {
        sentences.push_back("XML cannot hold every character of the key; on disk it is " +
                            quoted(shownKey(QuillCoreUtils::toWideString(view.onDiskKey), reveal)));
    }
    if (!view.isValueWhole) {
        const bool isHidden = view.after.isSensitive && !reveal;
        sentences.push_back("XML cannot hold every character of the value; on disk " +
                            (isHidden ? "U+FFFD stands for them" : "it is " + quoted(view.onDiskValue)));
    }
    return sentences;
}

std::string sentenceOnDisk(const UserWriteView& view, const std::string& configDirectory) {
    const std::string what = view.isErasure ? "removed from " : "written to ";
    const std::string why = view.whyNotPersisted.empty() ? std::string() : ": " + view.whyNotPersisted;
    return view.after.key + " could not be " + what + configDirectory + why;
}

void printBrokenFile(const Invocation& invocation, const UserWriteView& view, Output& output) {
    if (!view.brokenFile.empty()) {
        const std::string& directory = invocation.host.configDirectory;
        printError(output, localFileOf(directory) + " cannot be read (" + view.brokenFile + "); it " +
                               (view.dryRun ? "would be" : "is") + " set aside as " + brokenLocalFileOf(directory));
    }
}

}  // namespace corvidctl
