#include "CallMarker.h"
#include "ChildProcess.h"
#include "Traced.h"
#include "TracerConfigFileParser.h"

#include <sys/stat.h>

class TracerConfiguration : public Traced {
protected:
    void read(const std::string& text) {
        writeFile(m_path, text);
        TracerConfigFileParser(m_path.c_str()).parse();
    }
    ChildResult readInChild(const std::string& text) {
        writeFile(m_path, text);
        return runInChild([this] { m_tracer.ReadConfigFile(m_path.c_str()); });
    }
    const std::string m_path = m_folder / "tracer.cfg";
};

TEST_F(TracerConfiguration, SwitchesTheTracer) {
    read("TRACE_ON\n");
    EXPECT_TRUE(m_tracer.isEnabled());
    read("TRACE_OFF\n");
    EXPECT_FALSE(m_tracer.isEnabled());
}

TEST_F(TracerConfiguration, SwitchesTheColumnsAndTheIndentation) {
    read("TRACE_ON\n");
    EXPECT_FALSE(m_tracer.hasBarIndentation());
    read("TRACE_INDENT_WITH_MARK\n");
    EXPECT_TRUE(m_tracer.hasBarIndentation());
    EXPECT_FALSE(m_tracer.indentsHiddenCalls());
    read("TRACE_FULL_INDENT\n");
    EXPECT_TRUE(m_tracer.indentsHiddenCalls());
    EXPECT_FALSE(m_tracer.printsExits());
    read("TRACE_CALL_EXIT\n");
    EXPECT_TRUE(m_tracer.printsExits());
    EXPECT_FALSE(m_tracer.printsTime());
    read("TRACE_CLOCK\n");
    EXPECT_TRUE(m_tracer.printsTime());
    EXPECT_FALSE(m_tracer.printsObjectCountAndAddress());
    read("TRACE_OBJECT_COUNT\n");
    EXPECT_TRUE(m_tracer.printsObjectCountAndAddress());
}

TEST_F(TracerConfiguration, WritesAtOnceOnDemand) {
    read("TRACE_ON\nTRACE_SET_FILE_NAME trace\nTRACE_MUST_FLUSH\n");
    m_tracer.PrintString("x\n");
    EXPECT_EQ(file(), "x\n");
}

TEST_F(TracerConfiguration, EveryLevelWordHasItsBit) {
    const char* const words[] = {"DEBUG",   "ERROR",   "WARNING", "LEVEL_0", "LEVEL_1",
                                 "LEVEL_2", "LEVEL_3", "LEVEL_4", "LEVEL_5"};
    read("TRACE_ON\n");
    std::uint32_t expected = 0;
    std::uint32_t bit = 1;
    for (const char* const word : words) {
        read(std::string("TRACE_SET_MSG_FILTER TRACE_") + word + "\n");
        expected |= bit;
        bit *= 2;
        EXPECT_EQ(m_tracer.getLevelMask(), expected) << word;
    }
}

TEST_F(TracerConfiguration, LevelWordsAddUp) {
    read("TRACE_ON\nTRACE_SET_MSG_FILTER TRACE_ERROR TRACE_LEVEL_0\ntrace_set_msg_filter trace_debug\n");
    EXPECT_EQ(m_tracer.getLevelMask(), 11U);
}

TEST_F(TracerConfiguration, NamesThreadsAndCalls) {
    read("TRACE_ON\nTRACE_THE_THREAD MAIN *Worker\nTRACE_THE_CALL ZevoLauncher::* -*Item*\n");
    EXPECT_TRUE(m_tracer.isThreadPermittedToPrint("MAIN"));
    EXPECT_TRUE(m_tracer.isThreadPermittedToPrint("MainWorker"));
    EXPECT_FALSE(m_tracer.isThreadPermittedToPrint("WorkerWorker"));
    EXPECT_TRUE(m_tracer.isCallPermittedToPrint("ZevoLauncher::init"));
    EXPECT_FALSE(m_tracer.isCallPermittedToPrint("Dictionary::get"));
    EXPECT_TRUE(m_tracer.isCallForbiddenToPrint("BasicItem::get"));
}

TEST_F(TracerConfiguration, CallPatternShowsThatClassAndHidesAllOthers) {
    read("TRACE_ON\nTRACE_MUST_FLUSH\nTRACE_SET_FILE_NAME trace\nTRACE_THE_THREAD *\n"
         "TRACE_THE_CALL ZevoLauncher::*\n");
    { TRACE_FUNCTION("ZevoLauncher::init"); }
    { TRACE_FUNCTION("Dictionary::get"); }
    { TRACE_FUNCTION("ZevoLauncher::constructor"); }
    EXPECT_EQ(lines(), (std::vector<std::string>{"ZevoLauncher::init\n", "ZevoLauncher::constructor\n"}));
}

TEST_F(TracerConfiguration, NothingIsTracedWithoutAThreadStatement) {
    read("TRACE_ON\nTRACE_MUST_FLUSH\nTRACE_SET_FILE_NAME trace\nTRACE_THE_CALL *\n");
    { TRACE_FUNCTION("a"); }
    EXPECT_EQ(file(), "(none)");
}

TEST_F(TracerConfiguration, SetsTheFilesAndTheirLimits) {
    read("TRACE_ON\nTRACE_SET_FILE_NAME trace\nTRACE_SET_MAX_LINES 500\nTRACE_SET_MAX_FILES 7\n");
    EXPECT_EQ(ring().getBaseFileName(), m_folder / "trace");
    EXPECT_EQ(ring().getMaximumLinesPerFile(), 500);
    EXPECT_EQ(ring().getMaximumFiles(), 7);
}

TEST_F(TracerConfiguration, LastValueWins) {
    read("TRACE_ON\nTRACE_SET_FILE_NAME first\nTRACE_SET_FILE_NAME /second/one\nTRACE_SET_MAX_FILES 7\n"
         "TRACE_SET_MAX_FILES 99999999999\n");
    EXPECT_EQ(ring().getBaseFileName(), "/second/one");
    EXPECT_EQ(ring().getMaximumFiles(), INT32_MAX);
}

TEST_F(TracerConfiguration, BufferFormatsAreAcceptedAndDeliberatelyWithoutEffect) {
    read("TRACE_ON\nTRACE_SET_BUFFER_FORMAT_HEX\nTRACE_SET_BUFFER_FORMAT_DEC\nTRACE_SET_BUFFER_FORMAT_CHR\n"
         "TRACE_CLOCK\n");
    EXPECT_TRUE(m_tracer.printsTime());
    EXPECT_FALSE(m_tracer.printsExits());
    EXPECT_EQ(m_tracer.getLevelMask(), 0U);
}

TEST_F(TracerConfiguration, StatementsBeforeTraceOnAreDeliberatelyIgnored) {
    read("TRACE_INDENT_WITH_MARK\nTRACE_FULL_INDENT\nTRACE_CALL_EXIT\nTRACE_CLOCK\nTRACE_OBJECT_COUNT\n"
         "TRACE_SET_MSG_FILTER TRACE_DEBUG\nTRACE_THE_THREAD *\nTRACE_THE_CALL *\nTRACE_SET_FILE_NAME trace\n"
         "TRACE_SET_MAX_LINES 5\nTRACE_SET_MAX_FILES 5\nTRACE_MUST_FLUSH\nTRACE_ON\n");
    EXPECT_TRUE(m_tracer.isEnabled());
    EXPECT_FALSE(m_tracer.hasBarIndentation());
    EXPECT_FALSE(m_tracer.indentsHiddenCalls());
    EXPECT_FALSE(m_tracer.printsExits());
    EXPECT_FALSE(m_tracer.printsTime());
    EXPECT_FALSE(m_tracer.printsObjectCountAndAddress());
    EXPECT_EQ(m_tracer.getLevelMask(), 0U);
    EXPECT_FALSE(m_tracer.isThreadPermittedToPrint("MAIN"));
    EXPECT_FALSE(m_tracer.isCallPermittedToPrint("a"));
    EXPECT_EQ(ring().getBaseFileName(), "");
    EXPECT_EQ(ring().getMaximumLinesPerFile(), 100000);
    EXPECT_EQ(ring().getMaximumFiles(), 10);
    m_tracer.SetFileName("trace");
    m_tracer.PrintString("x\n");
    EXPECT_EQ(file(), "(none)");
}

TEST_F(TracerConfiguration, StatementsBehindTraceOffAreIgnored) {
    read("TRACE_ON\nTRACE_OFF\nTRACE_CLOCK\n");
    EXPECT_FALSE(m_tracer.printsTime());
}

TEST_F(TracerConfiguration, LastLineWithoutALineFeedIsIgnored) {
    read("TRACE_ON\nTRACE_CLOCK");
    EXPECT_TRUE(m_tracer.isEnabled());
    EXPECT_FALSE(m_tracer.printsTime());
}

TEST_F(TracerConfiguration, MissingFileOnlyWarns) {
    const ChildResult result = runInChild([this] {
        m_tracer.ReadConfigFile((m_folder / "missing.cfg").c_str());
        _exit(m_tracer.isEnabled() ? 2 : 0);
    });
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.errors,
              "Warning: cannot open tracer configuration file \"" + (m_folder / "missing.cfg") + "\"\n");
    EXPECT_EQ(result.output, "");
}

TEST_F(TracerConfiguration, FolderInsteadOfAFileIsEmpty) {
    TracerConfigFileParser(m_folder.path().c_str()).parse();
    EXPECT_FALSE(m_tracer.isEnabled());
}

TEST_F(TracerConfiguration, SyntaxErrorTellsItsLineAndEndsTheProcess) {
    const ChildResult result = readInChild("TRACE_ON\n# comment\nTRACE_SET_MAX_LINES many\n");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.errors, "syntax error at line 3 of tracer config file\n");
    EXPECT_EQ(result.output, "");
}

TEST_F(TracerConfiguration, SyntaxErrorBeforeTraceOnIsOneToo) {
    const ChildResult result = readInChild("TRACE_THE_CALL Class::~Class\n");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.errors, "syntax error at line 1 of tracer config file\n");
}

// Otherwise an earlier run's trace would look like this run's.
TEST_F(TracerConfiguration, SyntaxErrorBelowTheFileNameLeavesAnEmptyTrace) {
    for (const char* more : {"", "TRACE_MUST_FLUSH\n"}) {
        writeFile(m_folder / "trace_0.txt", "of an earlier run\n");
        const ChildResult result =
            readInChild("TRACE_ON\nTRACE_SET_FILE_NAME trace\n" + std::string(more) + "TRACE_CLOCKS\n");
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(file(), "") << more;
    }
}

TEST_F(TracerConfiguration, VeryLongLinesAndNulBytesAreReadFromFiles) {
    read("TRACE_ON\nTRACE_THE_CALL " + std::string(100000, 'c') + "\n" + std::string("#\0comment\n", 10) +
         "TRACE_CLOCK\n");
    EXPECT_TRUE(m_tracer.isCallPermittedToPrint(std::string(100000, 'c')));
    EXPECT_TRUE(m_tracer.printsTime());
    const ChildResult result = readInChild(std::string("TRACE_ON\nTRACE_\0CLOCK\n", 22));
    EXPECT_EQ(result.errors, "syntax error at line 2 of tracer config file\n");
}

TEST_F(TracerConfiguration, FileIsOnlyCheckedWithoutATracer) {
    writeFile(m_path, "TRACE_ON\nTRACE_SET_FILE_NAME trace\n");
    TracerConfigFileParser(m_path.c_str(), nullptr).parse();
    EXPECT_FALSE(m_tracer.isEnabled());
}
