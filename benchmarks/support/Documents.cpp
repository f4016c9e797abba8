#include "support/Documents.h"

#include <map>

#include "fakes/TemporaryDirectory.h"
#include "support/Layers.h"

namespace bench {
namespace {

const fakes::TemporaryDirectory& directory() {
    static const fakes::TemporaryDirectory instance;
    return instance;
}

}  // namespace

const std::string& xmlFile(std::size_t count) {
    static std::map<std::size_t, std::string> files;
    std::string& path = files[count];
    if (path.empty()) {
        path = directory().write(std::to_string(count) + ".xml", xmlDocument(makeEntries(50, count)));
    }
    return path;
}

const std::string& iniFile(std::size_t count) {
    static std::map<std::size_t, std::string> files;
    std::string& path = files[count];
    if (path.empty()) {
        path = directory().write(std::to_string(count) + ".ini", iniDocument(makeEntries(50, count)));
    }
    return path;
}

std::string loadRow(std::size_t count) { return "load " + std::to_string(count) + " entries"; }
std::string saveRow(std::size_t count) { return "save " + std::to_string(count) + " entries"; }

}  // namespace bench
