#include "inspecting/WriteRemarks.h"

#include "comparing/UserWriteText.h"

namespace corvidctl {

namespace {

void addUnlessEmpty(const std::string& sentence, std::vector<std::string>& remarks) {
    if (!sentence.empty()) {
        remarks.push_back(sentence);
    }
}

}  // namespace

std::vector<std::string> remarksOn(const UserWriteView& view, const std::string& configDirectory, bool reveal) {
    if (!view.isTaken) {
        return {"No writable store took " + view.after.key + "."};
    }
    std::vector<std::string> remarks;
    if (!view.isErasure) {
        remarks = sentencesOnWinner(view);
        addUnlessEmpty(sentenceOnEndangered(view), remarks);
        addUnlessEmpty(sentenceOnErased(view), remarks);
        for (const std::string& sentence : sentencesOnReplacedCharacters(view, reveal)) {
            remarks.push_back(sentence + ".");
        }
    }
    if (!view.isPersisted) {
        remarks.push_back(sentenceOnDisk(view, configDirectory) + ".");
    }
    return remarks;
}

}  // namespace corvidctl
