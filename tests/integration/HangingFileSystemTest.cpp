#include "LauncherTest.h"

#include <cstdlib>
#include <unistd.h>

using namespace Zevo;
using testing::HasSubstr;

namespace {

/// The application is on a file system that no longer responds.
class HangingFileSystem : public LauncherTest, public testing::WithParamInterface<const char*> {};

// A thread that waits for a file system handles no signal.
TEST_P(HangingFileSystem, DoesNotKeepTheLauncherFromEndingWithItsReport) {
    const std::string file = m_machine.placeOf(Bundle::mainApplication) + GetParam();
    const char* preloaded = std::getenv("LD_PRELOAD");
    startLauncher(
        {"LD_PRELOAD=" ZEVO_HANGING_FILE_SYSTEM_LIBRARY ":" + std::string(preloaded ? preloaded : ""),
         "ZEVO_HANGING_FILE=" + file});
    m_bus.plug("1-1", m_modem.modem);
    ASSERT_TRUE(waitUntil([&] { return access((file + ".waits").c_str(), F_OK) == 0; }));
    ASSERT_TRUE(endLauncherBySignal(15));
    EXPECT_EQ(m_launcher->exitStatus(), 0);
    for (const char* line : {">> [E] SIGNAL_SOTWARE_TERMINATION\n",
                             "-------------- CALLSTACK --------------\n", "OBJECT(S) COUNT --------------\n"})
        EXPECT_TRUE(m_trace.waitFor(line, std::chrono::milliseconds(0))) << line << m_trace.text();
    unlink((file + ".waits").c_str());
}

INSTANTIATE_TEST_SUITE_P(Asked, HangingFileSystem, testing::Values("", "/Contents/MacOS/Quillmarsh"),
                         [](const auto& tested) { return *tested.param == '\0' ? "Bundle" : "Executable"; });

} // namespace
