#include "fetching/RemoteSource.h"

#include <sstream>

#include "ServedTool.h"
#include "output/ProgressLine.h"
#include "session/Interruption.h"
#include "session/Session.h"

using namespace corvidctl;

namespace {

class Source : public ServedTool {
protected:
    Invocation invocation() const {
        Invocation result;
        result.host.configDirectory = directory_.path("config");
        result.host.installationDirectory = directory_.path("install");
        result.host.bootstrapFilePath = directory_.path("install/bootstrap.properties");
        result.host.caFile = directory_.path("ca.pem");
        result.host.logLevel = 2;
        return result;
    }

    std::ostringstream out_;
    ProgressLine progress_{out_, {}};
};

}  // namespace

TEST_F(Source, EndsTheRequestsThatItsThreadHasNotMadeWhenItStops) {
    const std::string second = callcontrol::CallControlServer::freeLoopbackAddress();
    const std::string third = callcontrol::CallControlServer::freeLoopbackAddress();
    SilentServer silent(second, 8443);
    const SilentServer next(third, 8443);  // would be asked if the second one's time had run out
    ASSERT_EQ(run({"set", "TFTPPrimaryServer", address_}).status, 0);
    name("TftpServer1: " + second + "\nTftpServer2: " + third + "\n");
    // The file leads to other servers, and the empty version hides the one that the first server told.
    serve("12.5", "<c><g><Customize_Phone_Server>false</Customize_Phone_Server><HomeUdsVersion/></g></c>");
    Interruption interruption;
    Session session(invocation());
    RemoteSource remote(session, interruption);
    remote.start();
    silent.waitForSomebody();
    remote.stop();
    EXPECT_TRUE(remote.waitUntilSettled(progress_));
    EXPECT_FALSE(next.isSomebodyThere());
}
