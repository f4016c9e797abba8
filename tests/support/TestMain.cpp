#include <gmock/gmock.h>

#include <cstdlib>

int main(int argc, char** argv) {
    // Neither a test nor a program that it starts hears what happens to the machine.
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system-bus-of-the-tests", 1);
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
