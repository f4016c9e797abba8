#include "ConfigServiceImpl.h"
#include "Json.h"
#include "Session.h"
#include "Text.h"
#include "commands/Commands.h"
#include "quill/StringUtils.h"

#include <ostream>

namespace corvidctl {

int runReport(const Invocation& invocation, Output& output) {
    std::string text;
    Session session(invocation);
    session.work([&text](Session::Inside& inside) {
        auto& service = dynamic_cast<ConfigServiceImpl&>(inside.service);
        text = QuillCoreUtils::toString(service.buildMasterReport());
    });
    session.finish();

    output.out << (invocation.json ? json::report(text) + '\n' : escaped(text, true));
    return Status::Done;
}

}  // namespace corvidctl
