#include "CallMarker.h"
#include "Traced.h"
#include "detail/ThreadId.h"

#include <gmock/gmock.h>
#include <regex>
#include <stdexcept>
#include <thread>

using namespace kf::detail;

using testing::ElementsAre;

/// The lines of one thread: layout, depth, messages and stack.
class ThreadTracing : public Traced {
protected:
    ThreadTracing() { traceEverything(); }

    std::string threadColumns(const std::string& name) const {
        char columns[128];
        std::snprintf(columns, sizeof columns, "[th_%-5d][%-15s]", static_cast<int>(currentThreadNumber()),
                      name.c_str());
        return columns;
    }
    static std::string addressColumn(const void* object) {
        char column[64];
        std::snprintf(column, sizeof column, "[0x%-8x]",
                      static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(object)));
        return column;
    }
};

namespace {

void inner() {
    TRACE_FUNCTION("b");
}

void outer() {
    TRACE_FUNCTION("a");
    inner();
}

} // namespace

TEST_F(ThreadTracing, EveryLineBeginsWithTheThreadsIdAndName) {
    m_tracer.BeginningOfThread("MAIN");
    inner();
    EXPECT_EQ(file(), threadColumns("MAIN") + "b\n");
}

TEST_F(ThreadTracing, LongThreadNameIsNotCut) {
    m_tracer.BeginningOfThread("a thread with a name of its own");
    inner();
    EXPECT_EQ(file(), threadColumns("a thread with a name of its own") + "b\n");
}

TEST_F(ThreadTracing, CallsAreIndentedByTheirCallers) {
    outer();
    EXPECT_THAT(lines(), ElementsAre("a\n", "  b\n"));
}

TEST_F(ThreadTracing, ExitLineDeliberatelyStandsOneUnitDeeperThanItsEntry) {
    m_tracer.setPrintExits(true);
    outer();
    EXPECT_THAT(lines(), ElementsAre("a\n", "  b\n", "    <- b\n", "  <- a\n"));
}

TEST_F(ThreadTracing, BarsMarkTheUnits) {
    m_tracer.setBarIndentation(true);
    m_tracer.setPrintExits(true);
    outer();
    EXPECT_THAT(lines(), ElementsAre("a\n", "| b\n", "| | <- b\n", "| <- a\n"));
}

TEST_F(ThreadTracing, EveryDepthHasItsBars) {
    constexpr std::size_t DEPTH = 100; // several times the length of the indentation that is kept ready
    for (const bool bars : {true, false}) {
        m_tracer.setBarIndentation(bars);
        std::vector<std::string> expected;
        std::string indentation;
        std::vector<std::unique_ptr<CallMarker>> open;
        for (std::size_t depth = 0; depth < DEPTH; ++depth) {
            expected.push_back(indentation + "a\n");
            indentation += bars ? "| " : "  ";
            open.push_back(std::make_unique<CallMarker>("a"));
        }
        const std::vector<std::string> all = lines();
        ASSERT_EQ(all.size(), bars ? DEPTH : 2 * DEPTH);
        EXPECT_EQ(std::vector<std::string>(all.end() - DEPTH, all.end()), expected);
        while (!open.empty())
            open.pop_back();
    }
}

TEST_F(ThreadTracing, ClockStandsBeforeTheThread) {
    m_tracer.setPrintTime(true);
    inner();
    EXPECT_TRUE(std::regex_match(
        file(), std::regex("\\[[0-2]\\d:[0-5]\\d:[0-6]\\d-\\d{3}\\]\\[th_-?\\d+ *\\]\\[th_-?\\d+ *\\]b\n")))
        << file();
}

TEST_F(ThreadTracing, ExitIsWrittenWhenTheCallUnwinds) {
    m_tracer.setPrintExits(true);
    const auto thrower = [] {
        TRACE_FUNCTION("thrower");
        throw std::runtime_error("x");
    };
    EXPECT_THROW(thrower(), std::runtime_error);
    inner();
    EXPECT_THAT(lines(), ElementsAre("thrower\n", "  <- thrower\n", "b\n", "  <- b\n"));
}

TEST_F(ThreadTracing, MessagesStandAtTheDepthOfTheCall) {
    TRACE_FUNCTION("a");
    TRACE_MESSAGE(MSG_DEBUG, "in %s", "a");
    {
        TRACE_FUNCTION("b");
        TRACE_MESSAGE(MSG_ERROR, "in %s", "b");
    }
    TRACE_MESSAGE(MSG_WARNING, "again");
    EXPECT_THAT(lines(),
                ElementsAre("a\n", "  >> [D] in a\n", "  b\n", "    >> [E] in b\n", "  >> [W] again\n"));
}

TEST_F(ThreadTracing, EveryMessageTypeHasItsTag) {
    TRACE_FUNCTION("a");
    for (std::uint32_t type = 1; type <= 512; type *= 2)
        TRACE_MESSAGE(static_cast<TraceMsgType>(type), "x");
    EXPECT_THAT(lines(), ElementsAre("a\n", "  >> [D] x\n", "  >> [E] x\n", "  >> [W] x\n", "  >> [0] x\n",
                                     "  >> [1] x\n", "  >> [2] x\n", "  >> [3] x\n", "  >> [4] x\n",
                                     "  >> [5] x\n", "  x\n"));
}

TEST_F(ThreadTracing, MixedMessageTypeHasNoTag) {
    TRACE_FUNCTION("a");
    TRACE_MESSAGE(static_cast<TraceMsgType>(3), "x");
    EXPECT_THAT(lines(), ElementsAre("a\n", "  x\n"));
}

TEST_F(ThreadTracing, OverlongMessageIsCutAndMarked) {
    TRACE_FUNCTION("a");
    const std::string text(25000, 't');
    TRACE_MESSAGE(MSG_DEBUG, "%s", text.c_str());
    EXPECT_THAT(lines(), ElementsAre("a\n", "  >> [D] " + std::string(19999, 't') + " ...\n"));
}

TEST_F(ThreadTracing, HiddenCallAddsNoLineAndNoIndentationAndLosesItsMessages) {
    m_tracer.TraceTheCall("-hidden");
    TRACE_FUNCTION("a");
    {
        TRACE_FUNCTION("hidden");
        TRACE_MESSAGE(MSG_ERROR, "lost");
        inner();
    }
    EXPECT_THAT(lines(), ElementsAre("a\n", "  b\n"));
}

TEST_F(ThreadTracing, HiddenCallIndentsOnDemand) {
    m_tracer.TraceTheCall("-hidden");
    m_tracer.setIndentHiddenCalls(true);
    m_tracer.setPrintExits(true);
    {
        const CallMarker a("a");
        const CallMarker hidden("hidden");
        inner();
    }
    EXPECT_THAT(lines(), ElementsAre("a\n", "    b\n", "      <- b\n", "  <- a\n"));
}

// ---- the object column

// Not in an unnamed namespace: clang's name of one holds a parenthesis, where the method's name would end.
class Counted {
public:
    Counted() { TRACE_CONSTRUCTOR("Counted"); }
    Counted(const Counted& /*other*/) { TRACE_COPY_CONSTRUCTOR("Counted"); }
    ~Counted() { TRACE_DESTRUCTOR("Counted"); }

    void work() const {
        TRACE_METHOD();
        TRACE_MESSAGE(MSG_DEBUG, "x");
    }
};

TEST_F(ThreadTracing, ConstructorsAndDestructorsCarryTheNumberOfObjects) {
    m_tracer.setPrintObjectCountAndAddress(true);
    m_tracer.setPrintExits(true);
    std::string first;
    std::string second;
    {
        const Counted a;
        const Counted b(a);
        first = addressColumn(&a);
        second = addressColumn(&b);
    }
    const std::string exitOfFirst = "[     ]" + first;
    const std::string exitOfSecond = "[     ]" + second;
    EXPECT_THAT(
        lines(),
        ElementsAre("[1    ]" + first + "Counted::constructor\n", exitOfFirst + "  <- Counted::constructor\n",
                    "[2    ]" + second + "Counted::copyconstructor\n",
                    exitOfSecond + "  <- Counted::copyconstructor\n",
                    "[1    ]" + second + "Counted::destructor\n", exitOfSecond + "  <- Counted::destructor\n",
                    "[0    ]" + first + "Counted::destructor\n", exitOfFirst + "  <- Counted::destructor\n"));
}

TEST_F(ThreadTracing, MethodsCarryTheirAddressAndMessagesNothing) {
    const Counted object;
    const std::size_t before = lines().size();
    m_tracer.setPrintObjectCountAndAddress(true);
    m_tracer.setPrintExits(true);
    object.work();
    outer();
    std::vector<std::string> added = lines();
    added.erase(added.begin(), added.begin() + static_cast<std::ptrdiff_t>(before));
    const std::string column = "[     ]" + addressColumn(&object);
    const std::string none = "[     ][          ]";
    ASSERT_EQ(none.size(), 19U);
    ASSERT_EQ(added.size(), 7U);
    EXPECT_EQ(added[0].substr(0, column.size()), column);
    EXPECT_NE(added[0].find("Counted::work\n"), std::string::npos);
    EXPECT_EQ(added[1], none + "  >> [D] x\n");
    EXPECT_EQ(added[2].substr(0, column.size() + 5), column + "  <- ");
    EXPECT_EQ(added[3], none + "a\n");
    EXPECT_EQ(added[6], none + "  <- a\n");
}

TEST_F(ThreadTracing, AddressesArePaddedBehindTheirDigits) {
    m_tracer.setPrintObjectCountAndAddress(true);
    const auto* const object = reinterpret_cast<const void*>(std::uintptr_t(0x12));
    const CallMarker constructor("A", "A::constructor", true, object);
    const CallMarker method("void A::method()", object);
    EXPECT_THAT(lines(),
                ElementsAre("[1    ][0x12      ]A::constructor\n", "[     ][0x12      ]  A::method\n"));
}

TEST_F(ThreadTracing, AddressesAreShownByTheirLow32Bits) {
    m_tracer.setPrintObjectCountAndAddress(true);
    const auto address = static_cast<std::uintptr_t>(0x7fff00000abcULL);
    const CallMarker method("void A::method()", reinterpret_cast<const void*>(address));
    EXPECT_THAT(lines(), ElementsAre("[     ][0xabc     ]A::method\n"));
}

TEST_F(ThreadTracing, HiddenConstructorsAreCountedToo) {
    m_tracer.TraceTheCall("-Counted::*");
    const Counted object;
    m_tracer.PrintAllObjectsCount();
    EXPECT_NE(file().find("Class = Counted                       , count = 000001\n"), std::string::npos)
        << file();
}

// ---- switching a thread off

TEST_F(ThreadTracing, DisabledThreadTakesInNoCalls) {
    inner();
    m_tracer.Disable();
    outer();
    m_tracer.Enable();
    inner();
    EXPECT_THAT(lines(), ElementsAre("b\n", "b\n"));
}

TEST_F(ThreadTracing, DisablingHoldsForTheCallingThreadOnly) {
    inner();
    m_tracer.Disable();
    std::thread(outer).join();
    EXPECT_THAT(lines(), ElementsAre("b\n", "a\n", "  b\n"));
}

TEST_F(ThreadTracing, CallThatWasOpenWhenItsThreadWasDisabledEndsSilentlyAndLeavesTheStack) {
    m_tracer.setPrintExits(true);
    {
        TRACE_FUNCTION("a");
        m_tracer.Disable();
    }
    m_tracer.PrintStacks();
    m_tracer.Enable();
    inner();
    EXPECT_THAT(lines(), ElementsAre("a\n", "b\n", "  <- b\n"));
}

TEST_F(ThreadTracing, CallsThatEndOutOfOrderDeliberatelyRemoveTheInnermostOne) {
    m_tracer.setPrintExits(true);
    auto outermost = std::make_unique<CallMarker>("a");
    CallMarker innermost("b");
    m_tracer.Disable();
    outermost.reset();
    m_tracer.Enable();
    m_tracer.PrintStacks();
    const std::string text = file();
    EXPECT_NE(text.find("[1] a\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("] b\n"), std::string::npos) << text;
}

TEST_F(ThreadTracing, MessagesAreWrittenInACallWhoseThreadWasDisabled) {
    TRACE_FUNCTION("a");
    m_tracer.Disable();
    TRACE_MESSAGE(MSG_DEBUG, "still here");
    EXPECT_THAT(lines(), ElementsAre("a\n", "  >> [D] still here\n"));
}

TEST_F(ThreadTracing, CallThatEndsWhileTheTracerIsDisabledLeavesItsEntryBehind) {
    {
        TRACE_FUNCTION("left");
        m_tracer.setEnabled(false);
    }
    m_tracer.setEnabled(true);
    inner();
    EXPECT_THAT(lines(), ElementsAre("left\n", "  b\n"));
}

TEST_F(ThreadTracing, CallMayOutliveItsThreadsTrace) {
    m_tracer.setPrintExits(true);
    {
        TRACE_FUNCTION("a");
        m_tracer.EndOfThread();
        TRACE_MESSAGE(MSG_ERROR, "after the end");
    }
    EXPECT_THAT(lines(), ElementsAre("a\n"));
}

// ---- the stack

TEST_F(ThreadTracing, StackListsTheInnermostCallFirst) {
    m_tracer.BeginningOfThread("MAIN");
    const CallMarker one("one");
    const CallMarker two("two");
    const CallMarker three("three");
    const std::size_t before = file().size();
    m_tracer.PrintStacks();
    const std::string columns = threadColumns("MAIN");
    EXPECT_EQ(file().substr(before), "\n-------------- CALLSTACK --------------\n" + columns +
                                         "    [3] three\n" + columns + "    [2] two\n" + columns +
                                         "    [1] one\n---------------------------------------\n");
}

TEST_F(ThreadTracing, HiddenCallsStandOnTheStackToo) {
    m_tracer.TraceTheCall("-hidden");
    const CallMarker one("one");
    const CallMarker hidden("hidden");
    m_tracer.PrintStacks();
    EXPECT_NE(file().find("    [2] hidden\n"), std::string::npos);
}

TEST_F(ThreadTracing, EmptyStackPrintsNothing) {
    inner();
    const std::string before = file();
    m_tracer.PrintStacks();
    EXPECT_EQ(file(), before);
}

TEST_F(ThreadTracing, StackOfAnotherThreadDeliberatelyCarriesTheIdOfTheOneThatAsks) {
    m_tracer.BeginningOfThread("WATCHED");
    TRACE_FUNCTION("busy");
    std::string expected;
    std::thread([&] {
        expected = threadColumns("WATCHED") + "    [1] busy\n";
        m_tracer.PrintStacks();
    }).join();
    EXPECT_NE(file().find(expected), std::string::npos) << file();
}

// A thread tracer that is registered afterwards may get the same memory.
TEST_F(ThreadTracing, CallThatOutlivesItsThreadsTraceWritesNothingUnderAnotherName) {
    m_tracer.setPrintExits(true);
    for (int round = 0; round < 20; ++round) {
        m_tracer.BeginningOfThread("first");
        TRACE_FUNCTION("outliving");
        m_tracer.EndOfThread();
        m_tracer.BeginningOfThread("second");
        TRACE_MESSAGE(MSG_DEBUG, "outliving");
        inner();
        m_tracer.EndOfThread();
    }
    for (const std::string& line : linesOf(file())) {
        const bool isIt = line.find("outliving") != std::string::npos;
        EXPECT_EQ(line.find("[first          ]outliving\n") != std::string::npos, isIt) << line;
    }
}
