#include "demo/SampleServer.h"

#include <stdexcept>

#include "cli/DataDirectory.h"
#include "demo/TextFile.h"

namespace corvidctl {

SampleServer::SampleServer(const std::string& folder)
    : file_(folder + "/" + FILE_NAME),
      caFile_(folder + "/ca.pem"),
      address_(callcontrol::CallControlServer::freeLoopbackAddress()) {
    writeTextFile(file_, readTextFile(dataDirectory() + "/sample-server/" + FILE_NAME));
    writeTextFile(caFile_, authority_.certificate());

    callcontrol::CallControlServer::Options options;
    options.address = address_;
    options.file = file_;
    options.serverVersion = VERSION;
    options.credentials = authority_.issue({{address_}});
    server_ = std::make_unique<callcontrol::CallControlServer>(options);
    server_->start();
}

void SampleServer::change(const std::string& key, const std::string& value) {
    std::string text = readTextFile(file_);
    const std::string opening = "<" + key + ">";
    const std::size_t begin = text.find(opening);
    const std::size_t end = text.find("</" + key + ">");
    if (begin == std::string::npos || end == std::string::npos) {
        throw std::runtime_error("the sample of a server's file has no entry " + key);
    }
    const std::size_t from = begin + opening.size();
    writeTextFile(file_, text.replace(from, end - from, value));
}

}  // namespace corvidctl
