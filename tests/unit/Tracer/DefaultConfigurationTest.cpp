#include "CallMarker.h"
#include "Logger.h"
#include "LoggerConfigFileParser.h"
#include "Traced.h"
#include "TracerConfigFileParser.h"
#include "detail/FileRing.h"

using namespace kf::detail;

/// The configuration files that are installed.
class DefaultConfiguration : public Traced {};

TEST_F(DefaultConfiguration, TraceFileHasTheFieldsDefaults) {
    TracerConfigFileParser(RESOURCES_FOLDER "/tracer_zevolauncher.cfg").parse();
    EXPECT_TRUE(m_tracer.isEnabled());
    EXPECT_TRUE(m_tracer.printsTime());
    EXPECT_TRUE(m_tracer.printsExits());
    EXPECT_TRUE(m_tracer.hasBarIndentation());
    EXPECT_EQ(m_tracer.getLevelMask(), static_cast<std::uint32_t>(MSG_DEBUG | MSG_ERROR | MSG_WARNING));
    EXPECT_TRUE(m_tracer.isThreadPermittedToPrint("MAIN"));
    EXPECT_TRUE(m_tracer.isCallPermittedToPrint("ZevoLauncher::init"));
    EXPECT_FALSE(m_tracer.isCallForbiddenToPrint("ZevoLauncher::init"));
    EXPECT_EQ(ring().getCurrentFileName(), m_folder / "tracer_zevolauncher_0.txt");
    EXPECT_GT(ring().getMaximumFiles(), 1);
    EXPECT_GT(ring().getMaximumLinesPerFile(), 1000);
}

TEST_F(DefaultConfiguration, LogFileHasTheFieldsDefaults) {
    Logger logger;
    logger.SetFolderName(m_folder.path() + "/");
    LoggerConfigFileParser(RESOURCES_FOLDER "/logger_launcher.cfg", &logger).parse();
    EXPECT_TRUE(logger.isEnabled());
    EXPECT_TRUE(logger.hasInLevelMask(MSG_LEVEL_0));
    EXPECT_TRUE(logger.hasInLevelMask(MSG_ERROR));
    EXPECT_TRUE(logger.hasInLevelMask(MSG_WARNING));
    const KFLock lock(logger.getLock());
    EXPECT_EQ(logger.getFileRing().getCurrentFileName(), m_folder / "logger_launcher_0.txt");
    EXPECT_GT(logger.getFileRing().getMaximumFiles(), 1);
}
