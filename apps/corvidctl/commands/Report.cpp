#include "ConfigServiceImpl.h"
#include "commands/Commands.h"
#include "output/Answers.h"
#include "output/Text.h"
#include "quill/StringUtils.h"
#include "session/Session.h"

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

    output.out << (isForMachines(invocation.format) ? answers::report(text, invocation.format) : escaped(text, true));
    return Status::Done;
}

}  // namespace corvidctl
