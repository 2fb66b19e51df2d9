// The macros in the most hostile user code. Half of the test is that this file compiles without a warning.
#include "LogMessage.h"
#include "Logger.h"
#include "TraceStream.h"
#include "Traced.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace hostile {

// Names that the macros use, with other meanings here: the macros must still find the global ones.
struct Tracer {};
struct Logger {};
struct CallMarker {};
struct TraceStream {};
struct ThreadTracer {};
enum TraceMsgType { nothing };
enum LoggerMsgType { nothingElse };

class Class {
public:
    Class() { TRACE_CONSTRUCTOR("Class"); }
    Class(const Class& /*other*/) { TRACE_COPY_CONSTRUCTOR("Class"); }
    ~Class() { TRACE_DESTRUCTOR("Class"); }

    void method(int marker, int tracer, int logger, int type, int format) {
        TRACE_METHOD();
        const int threadTracer = marker + tracer + logger + type + format;
        TRACE_MESSAGE(MSG_DEBUG, "%d", threadTracer);
        TRACE_STREAM(MSG_DEBUG) << threadTracer;
        LOG_MESSAGE(MSG_DEBUG, "%d", threadTracer);
    }
};

} // namespace hostile

class MacroHygiene : public Traced {
protected:
    MacroHygiene() {
        traceEverything();
        ::Logger::SetInstance(&m_logger);
        m_logger.SetFolderName(m_folder.path() + "/");
        m_logger.SetFileName("log");
        m_logger.setDirectWrite(true);
        m_logger.setEnabled(true);
        m_logger.addToLevelMask(MSG_DEBUG);
    }
    std::string log() const {
        const std::string path = m_folder / "log_0.txt";
        return access(path.c_str(), F_OK) == 0 ? readFile(path) : "(none)";
    }
    ::Logger m_logger;
};

TEST_F(MacroHygiene, HostileNamesAreNotTakenForTheirs) {
    m_tracer.TraceTheCall("-*Class*");
    m_tracer.TraceTheCall("-*Class*");
    hostile::Class object;
    const hostile::Class copy(object);
    object.method(1, 2, 3, 4, 5);
    EXPECT_EQ(log(), "[DEBUG  ] 15\n");
    EXPECT_EQ(file(), "(none)");
}

TEST_F(MacroHygiene, MessagesStandUnbracedAfterIfAndElse) {
    TRACE_FUNCTION("a");
    for (const bool condition : {true, false}) {
        if (condition)
            TRACE_MESSAGE(MSG_DEBUG, "trace if");
        else
            TRACE_MESSAGE(MSG_DEBUG, "trace else");
        if (condition)
            LOG_MESSAGE(MSG_DEBUG, "log if");
        else
            LOG_MESSAGE(MSG_DEBUG, "log else");
    }
    EXPECT_THAT(lines(), ElementsAre("a\n", "  >> [D] trace if\n", "  >> [D] trace else\n"));
    EXPECT_EQ(log(), "[DEBUG  ] log if\n[DEBUG  ] log else\n");
}

TEST_F(MacroHygiene, ElseBelongsToTheIfInSight) {
    TRACE_FUNCTION("a");
    bool reached = false;
    if (false)
        TRACE_MESSAGE(MSG_ERROR, "lost");
    else
        reached = true;
    EXPECT_TRUE(reached);
}

TEST_F(MacroHygiene, ArgumentsAreEvaluatedOnceWhenTheLineIsWritten) {
    TRACE_FUNCTION("a");
    int evaluated = 0;
    int asked = 0;
    TRACE_MESSAGE((++asked, MSG_DEBUG), "%d", ++evaluated);
    LOG_MESSAGE((++asked, MSG_DEBUG), "%d", ++evaluated);
    EXPECT_EQ(evaluated, 2);
    EXPECT_EQ(asked, 2);
}

TEST_F(MacroHygiene, ArgumentsAreNotEvaluatedWhenTheLineIsNotWritten) {
    m_tracer.TraceTheCall("-hidden");
    int evaluated = 0;
    {
        TRACE_FUNCTION("hidden");
        TRACE_MESSAGE(MSG_DEBUG, "%d", ++evaluated);
    }
    TRACE_FUNCTION("a");
    m_tracer.setEnabled(false);
    TRACE_MESSAGE(MSG_DEBUG, "%d", ++evaluated);
    LOG_MESSAGE(MSG_ERROR, "%d", ++evaluated);
    m_logger.setEnabled(false);
    LOG_MESSAGE(MSG_DEBUG, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
}

TEST_F(MacroHygiene, ArgumentMayTraceAndLogItself) {
    TRACE_FUNCTION("a");
    const auto argument = [](const char* name) {
        TRACE_FUNCTION("argument");
        TRACE_MESSAGE(MSG_ERROR, "inside");
        LOG_MESSAGE(MSG_DEBUG, "inside");
        return name;
    };
    TRACE_MESSAGE(MSG_DEBUG, "%s", argument("outside"));
    LOG_MESSAGE(MSG_DEBUG, "%s", argument("outside"));
    EXPECT_THAT(lines(), ElementsAre("a\n", "  argument\n", "    >> [E] inside\n", "  >> [D] outside\n",
                                     "  argument\n", "    >> [E] inside\n"));
    EXPECT_EQ(log(), "[DEBUG  ] inside\n[DEBUG  ] inside\n[DEBUG  ] outside\n");
}

TEST_F(MacroHygiene, MarkersNestInOneFunctionAndInItsLambdas) {
    TRACE_FUNCTION("a");
    {
        TRACE_FUNCTION("block");
        TRACE_MESSAGE(MSG_DEBUG, "block");
    }
    [&] {
        TRACE_FUNCTION("lambda");
        TRACE_MESSAGE(MSG_DEBUG, "lambda");
    }();
    TRACE_MESSAGE(MSG_DEBUG, "a");
    EXPECT_THAT(lines(), ElementsAre("a\n", "  block\n", "    >> [D] block\n", "  lambda\n",
                                     "    >> [D] lambda\n", "  >> [D] a\n"));
}

TEST_F(MacroHygiene, MarkersAreBalancedAfterReturnAndException) {
    const auto leave = [](int way) {
        TRACE_FUNCTION("leave");
        if (way == 1)
            return;
        if (way == 2)
            throw 2;
    };
    leave(0);
    leave(1);
    EXPECT_THROW(leave(2), int);
    TRACE_FUNCTION("a");
    EXPECT_THAT(lines(), ElementsAre("leave\n", "leave\n", "leave\n", "a\n"));
}

TEST_F(MacroHygiene, MessageWithoutArgumentsMayHoldPercent) {
    TRACE_FUNCTION("a");
    TRACE_MESSAGE(MSG_DEBUG, "100%%");
    LOG_MESSAGE(MSG_DEBUG, "100%%");
    EXPECT_THAT(lines(), ElementsAre("a\n", "  >> [D] 100%\n"));
    EXPECT_EQ(log(), "[DEBUG  ] 100%\n");
}
