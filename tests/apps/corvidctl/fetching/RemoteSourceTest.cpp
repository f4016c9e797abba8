#include "fetching/RemoteSource.h"

#include <sstream>

#include "ConfigAdapter.h"
#include "ConfigService.h"
#include "InjectConfigService.h"
#include "ServedTool.h"
#include "impl/system/SystemMonitorImpl.h"
#include "output/ProgressLine.h"
#include "session/Interruption.h"
#include "session/Session.h"
#include "system/World.h"

using namespace corvidctl;
using namespace TesselSystemMonitor;
using testing::ElementsAre;

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

    /// The machine is about to power down, and then is not, as the session's host tells it.
    static void powerDownAndCallOff(Session& session) {
        session.work([&](Session::Inside&) {
            const auto monitor = std::dynamic_pointer_cast<SystemMonitorImpl>(platform::getWorld()->systemMonitor);
            ASSERT_NE(monitor, nullptr);
            monitor->report(PowerEventTypeEnum::PowerDown);
            session.host().adapter()->StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
            monitor->report(PowerEventTypeEnum::PowerDownCalledOff);
        });
    }

    static std::wstring valueOf(Session& session, const std::wstring& key) {
        std::wstring value;
        session.work([&](Session::Inside& inside) { value = inside.service.getConfig(key)->getValue(); });
        return value;
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

TEST_F(Source, FetchesAnewOnceAPowerDownIsCalledOff) {
    serve("12.5", "<c><g><key>first</key></g></c>");
    Interruption interruption;
    Session session(invocation());
    RemoteSource remote(session, interruption);
    remote.start();
    ASSERT_TRUE(remote.waitUntilSettled(progress_));
    ASSERT_EQ(valueOf(session, L"key"), L"first");
    rewrite("<c><g><key>second</key></g></c>");
    powerDownAndCallOff(session);
    ASSERT_TRUE(remote.waitUntilSettled(progress_));
    EXPECT_EQ(valueOf(session, L"key"), L"second");
    EXPECT_EQ(valueOf(session, L"HomeUdsVersion"), L"12.5");
    remote.stop();
    EXPECT_THAT(requestsUntilStop(), ElementsAre("8443/hubm-uds/version", "6972/corvid-config.xml",
                                                 "8443/hubm-uds/version", "6972/corvid-config.xml"));
}

TEST_F(Source, StaysOffWhenAPowerDownIsCalledOffAfterItsStop) {
    serve("12.5", "<c><g><key>first</key></g></c>");
    Interruption interruption;
    Session session(invocation());
    RemoteSource remote(session, interruption);
    remote.start();
    ASSERT_TRUE(remote.waitUntilSettled(progress_));
    remote.stop();
    powerDownAndCallOff(session);
    EXPECT_TRUE(remote.waitUntilSettled(progress_));
    EXPECT_EQ(session.host().adapter()->getTftpConfigStore(), nullptr);
}
