#include "exporting/ExportAnswers.h"

#include <nlohmann/json.hpp>

#include "output/MachineText.h"

namespace corvidctl::answers {

std::string exportation(const ExportView& view, Format format) {
    Json leftOut = Json::array();
    for (const LeftOutValue& value : view.leftOut) {
        leftOut.push_back({{"key", value.key}, {"reason", value.reason}});
    }
    return printed({{"store", view.store ? Json(*view.store) : Json(nullptr)},
                    {"format", view.format},
                    {"file", view.file ? Json(*view.file) : Json(nullptr)},
                    {"keys", view.keys},
                    {"hidden", view.hidden},
                    {"leftOut", leftOut},
                    {"document", view.file ? Json(nullptr) : Json(view.document)},
                    {"failed", view.failed}},
                   format);
}

}  // namespace corvidctl::answers
