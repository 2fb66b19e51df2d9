#include "CallMarker.h"
#include "ChildProcess.h"
#include "Logged.h"
#include "LoggerConfigFileParser.h"

#include <regex>

class LoggerConfiguration : public Logged {
protected:
    void read(const std::string& text) {
        writeFile(m_path, text);
        LoggerConfigFileParser(m_path.c_str()).parse();
    }
    const std::string m_path = m_folder / "logger.cfg";
};

TEST_F(LoggerConfiguration, SwitchesTheLogger) {
    read("LOG_ON\n");
    EXPECT_TRUE(m_logger.isEnabled());
    read("LOG_OFF\n");
    EXPECT_FALSE(m_logger.isEnabled());
}

TEST_F(LoggerConfiguration, StatementsTakeEffectBeforeLogOnToo) {
    read("LOG_SET_FILE_NAME log\nLOG_MUST_FLUSH\nLOG_CLOCK\n");
    EXPECT_FALSE(m_logger.isEnabled());
    m_logger.PrintMsg(MSG_ERROR, "x");
    EXPECT_TRUE(std::regex_match(log(), std::regex("\\[[\\d:-]{12}\\]\\[ERROR  \\] x\n"))) << log();
}

TEST_F(LoggerConfiguration, KeywordsMatchInAnyLetterCase) {
    read("log_on\nlog_set_max_lines 500\nLog_Set_Max_Files 3\n");
    EXPECT_TRUE(m_logger.isEnabled());
    EXPECT_EQ(logRing().getMaximumLinesPerFile(), 500);
    EXPECT_EQ(logRing().getMaximumFiles(), 3);
}

TEST_F(LoggerConfiguration, ErrorAndLevelZeroGiveTheMaskTen) {
    read("LOG_SET_MSG_FILTER LOG_ERROR LOG_LEVEL_0\n");
    EXPECT_EQ(m_logger.getLevelMask(), 10);
}

TEST_F(LoggerConfiguration, EveryLevelWordHasItsBit) {
    const char* const words[] = {"DEBUG",   "ERROR",   "WARNING", "LEVEL_0", "LEVEL_1",
                                 "LEVEL_2", "LEVEL_3", "LEVEL_4", "LEVEL_5"};
    std::int32_t expected = 0;
    std::int32_t bit = 1;
    for (const char* const word : words) {
        read(std::string("LOG_SET_MSG_FILTER LOG_") + word + "\n");
        expected |= bit;
        bit *= 2;
        EXPECT_EQ(m_logger.getLevelMask(), expected) << word;
    }
}

TEST_F(LoggerConfiguration, LastValueWins) {
    read("LOG_SET_FILE_NAME first\nLOG_SET_FILE_NAME second\nLOG_SET_MAX_LINES 1\nLOG_SET_MAX_LINES "
         "99999999999\n");
    EXPECT_EQ(logRing().getBaseFileName(), m_folder / "second");
    EXPECT_EQ(logRing().getMaximumLinesPerFile(), INT32_MAX);
}

TEST_F(LoggerConfiguration, CommentLeavesTheLoggerDisabled) {
    read("# LOG_ON\n");
    EXPECT_FALSE(m_logger.isEnabled());
}

TEST_F(LoggerConfiguration, LastStatementWithoutALineFeedIsLost) {
    read("LOG_SET_MAX_FILES 3\nLOG_ON");
    EXPECT_EQ(logRing().getMaximumFiles(), 3);
    EXPECT_FALSE(m_logger.isEnabled());
}

TEST_F(LoggerConfiguration, MissingFileOnlyWarns) {
    const ChildResult result = runInChild([this] {
        m_logger.ReadConfigFile((m_folder / "missing.cfg").c_str());
        _exit(m_logger.isEnabled() ? 2 : 0);
    });
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.errors,
              "Warning: cannot open log configuration file \"" + (m_folder / "missing.cfg") + "\"\n");
}

TEST_F(LoggerConfiguration, SyntaxErrorTellsItsLineAndEndsTheProcess) {
    writeFile(m_path, "LOG_ON\n\nLOG_SET_FILE_NAME a\\b\n");
    const ChildResult result = runInChild([this] { m_logger.ReadConfigFile(m_path.c_str()); });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.errors, "syntax error at line 3 of log config file\n");
}

// Otherwise the trace file would still be an earlier run's, with no sign of that.
TEST_F(LoggerConfiguration, BeforeItEndsTheProcessTheTraceIsFinished) {
    for (const char* text : {"LOG_SET_FILE_NAME a\\b\n", "LOG_ON\n"}) { // a syntax error; no file name
        writeFile(m_path, text);
        writeFile(m_folder / "trace_0.txt", "of an earlier run\n");
        const ChildResult result = runInChild([this] {
            traceEverything();
            m_tracer.setDirectWrite(false);
            TRACE_FUNCTION("startLogger");
            m_logger.ReadConfigFile(m_path.c_str());
        });
        EXPECT_EQ(result.exitStatus, 1);
        ASSERT_GE(lines().size(), 1U);
        EXPECT_EQ(lines()[0], "startLogger\n");
    }
}

TEST_F(LoggerConfiguration, TheTraceTellsTheLineOfASyntaxError) {
    writeFile(m_path, "LOG_ON\n\nLOG_SET_FILE_NAME a\\b\n");
    runInChild([this] {
        traceEverything();
        m_logger.ReadConfigFile(m_path.c_str());
    });
    EXPECT_NE(file().find(">> [E] syntax error at line 3 of log config file\n"), std::string::npos) << file();
}

TEST_F(LoggerConfiguration, StatementsOfTheTraceAreErrors) {
    writeFile(m_path, "TRACE_ON\n");
    const ChildResult result = runInChild([this] { m_logger.ReadConfigFile(m_path.c_str()); });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.errors, "syntax error at line 1 of log config file\n");
}

TEST_F(LoggerConfiguration, ReadingConfiguresThatLoggerAndNoOther) {
    Logger other;
    writeFile(m_path, "LOG_ON\nLOG_MUST_FLUSH\nLOG_SET_FILE_NAME msvc\n");
    other.ReadConfigFile(m_path.c_str());
    EXPECT_TRUE(other.isEnabled());
    EXPECT_FALSE(m_logger.isEnabled());
}

TEST_F(LoggerConfiguration, FileIsOnlyCheckedWithoutALogger) {
    writeFile(m_path, "LOG_ON\n");
    LoggerConfigFileParser(m_path.c_str(), nullptr).parse();
    EXPECT_FALSE(m_logger.isEnabled());
}
