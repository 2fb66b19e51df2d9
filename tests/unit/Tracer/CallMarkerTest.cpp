#include "CallMarker.h"

#include "Traced.h"
#include "Tracer.h"

#include <atomic>
#include <gmock/gmock.h>
#include <thread>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

class CallMarking : public Traced {};

TEST_F(CallMarking, NothingHappensWithoutATracer) {
    Tracer* const none = nullptr;
    Tracer::SetInstance(none);
    EXPECT_EQ(takeContractViolations().size(), 2U);
    const CallMarker marker("a");
    EXPECT_EQ(marker.getThreadTracer(), nullptr);
    EXPECT_FALSE(marker.isPrinted());
    EXPECT_FALSE(marker.isMessageWritten(MSG_ERROR));
}

TEST_F(CallMarking, NothingHappensWhileTheTracerIsDisabled) {
    traceEverything();
    m_tracer.setEnabled(false);
    {
        TRACE_FUNCTION("a");
        TRACE_MESSAGE(MSG_ERROR, "x");
    }
    EXPECT_EQ(file(), "(none)");
}

namespace {

bool isCallTakenIn() {
    return CallMarker("a").getThreadTracer() != nullptr;
}

/// A tracer that records every call and is not registered yet.
class OtherTracer : public Tracer {
public:
    OtherTracer() {
        TraceTheThread("*");
        TraceTheCall("*");
        SetFileName("msvc");
        setEnabled(true);
    }
};

} // namespace

TEST_F(CallMarking, CallsFollowTheTracerThatIsRegistered) {
    traceEverything();
    EXPECT_TRUE(isCallTakenIn());
    {
        OtherTracer other;
        m_tracer.setEnabled(false);
        EXPECT_FALSE(isCallTakenIn()) << "the other one is not registered";
        Tracer::SetInstance(&other);
        EXPECT_TRUE(isCallTakenIn());
        other.FinishTracing();
        EXPECT_FALSE(isCallTakenIn());
        other.setEnabled(true);
        EXPECT_TRUE(isCallTakenIn());
    }
    EXPECT_FALSE(isCallTakenIn()) << "the one that was registered has ended";
    m_tracer.setEnabled(true);
    Tracer::SetInstance(&m_tracer);
    EXPECT_TRUE(isCallTakenIn());
}

TEST_F(CallMarking, ATracerThatIsSwitchedOffDoesNotSwitchOffTheOneThatReplacesIt) {
    traceEverything();
    OtherTracer other;
    for (int round = 0; round < 500 && !HasFailure(); ++round) {
        m_tracer.setEnabled(true);
        Tracer::SetInstance(&m_tracer);
        std::atomic<int> ready{0};
        const auto meet = [&ready] {
            for (++ready; ready < 2;)
                std::this_thread::yield();
        };
        std::thread switchingOff([&] {
            meet();
            m_tracer.setEnabled(false);
        });
        meet();
        Tracer::SetInstance(&other);
        switchingOff.join();
        EXPECT_TRUE(isCallTakenIn());
    }
    Tracer::SetInstance(&m_tracer);
}

TEST_F(CallMarking, MarkerOfADisabledTracerHasNoThreadTracer) {
    traceEverything();
    m_tracer.TraceTheCall("-hidden");
    for (const bool enabled : {true, false}) { // in the second round the tracer already knows both calls
        m_tracer.setEnabled(enabled);
        for (const char* name : {"shown", "hidden"}) {
            const CallMarker marker(name);
            EXPECT_EQ(marker.getThreadTracer() != nullptr, enabled) << name;
        }
    }
}

TEST_F(CallMarking, MarkerOfADisabledTracerStaysInertWhenItIsEnabled) {
    traceEverything();
    m_tracer.setPrintExits(true);
    m_tracer.setEnabled(false);
    {
        TRACE_FUNCTION("early");
        m_tracer.setEnabled(true);
        TRACE_MESSAGE(MSG_ERROR, "x");
    }
    EXPECT_EQ(file(), "(none)");
}

TEST_F(CallMarking, ExitAndMessagesOfAMarkerAreSilentOnceTheTracerIsDisabled) {
    traceEverything();
    m_tracer.setPrintExits(true);
    {
        TRACE_FUNCTION("a");
        m_tracer.setEnabled(false);
        TRACE_MESSAGE(MSG_ERROR, "x");
    }
    EXPECT_THAT(lines(), ElementsAre("a\n"));
}

TEST_F(CallMarking, MarkerMayOutliveItsTracer) {
    auto tracer = std::make_unique<Tracer>();
    Tracer::SetInstance(tracer.get());
    tracer->setEnabled(true);
    tracer->TraceTheThread("*");
    tracer->TraceTheCall("*");
    tracer->SetFileName("msvc");
    const CallMarker marker("a");
    EXPECT_TRUE(marker.isPrinted());
    tracer.reset();
    EXPECT_FALSE(marker.isMessageWritten(MSG_ERROR));
}

TEST_F(CallMarking, FieldsAreThoseOfTheConstructor) {
    traceEverything();
    const int object = 0;
    const CallMarker function("free");
    EXPECT_EQ(function.getMethodName(), "free");
    EXPECT_EQ(function.getClassName(), "");
    EXPECT_EQ(function.getObject(), nullptr);
    const CallMarker method("void Some::method(int, char)", &object);
    EXPECT_EQ(method.getMethodName(), "Some::method");
    EXPECT_EQ(method.getClassName(), "");
    EXPECT_EQ(method.getObject(), &object);
    EXPECT_FALSE(method.isConstructor());
    const CallMarker constructor("Some", "Some::constructor", true, &object);
    EXPECT_EQ(constructor.getClassName(), "Some");
    EXPECT_EQ(constructor.getMethodName(), "Some::constructor");
    EXPECT_TRUE(constructor.isConstructor());
    const CallMarker destructor("Some", "Some::destructor", false, &object);
    EXPECT_FALSE(destructor.isConstructor());
}

TEST_F(CallMarking, EqualTextsHaveOneSiteWhereverTheyLie) {
    const std::string text = "twice";
    const std::string copy = text;
    const CallMarker first(text.c_str());
    const CallMarker second(copy.c_str());
    EXPECT_EQ(&first.getSite(), &second.getSite());
    const CallMarker method(text.c_str(), nullptr);
    EXPECT_NE(&first.getSite(), &method.getSite()) << "a signature is another text than a name";
    const CallMarker constructor("Some", text.c_str(), true, nullptr);
    const CallMarker destructor("Some", text.c_str(), false, nullptr);
    const CallMarker other("Other", text.c_str(), true, nullptr);
    EXPECT_NE(&first.getSite(), &constructor.getSite());
    EXPECT_NE(&constructor.getSite(), &destructor.getSite());
    EXPECT_NE(&constructor.getSite(), &other.getSite());
    const CallMarker again("Some", copy.c_str(), true, nullptr);
    EXPECT_EQ(&constructor.getSite(), &again.getSite());
}

TEST_F(CallMarking, AMessageThatIsRefusedInTheMiddleIsFormattedFromItsBeginning) {
    traceEverything();
    {
        TRACE_FUNCTION("a");
        TRACE_MESSAGE(MSG_ERROR, "%s %d %ld %.2f %s", "device", -7, -8L, 1e20, "is");
    }
    EXPECT_THAT(lines(), Contains(HasSubstr("device -7 -8 100000000000000000000.00 is\n")));
}

TEST_F(CallMarking, MessagesObeyTheLevelMask) {
    m_tracer.setEnabled(true);
    m_tracer.setDirectWrite(true);
    m_tracer.TraceTheThread("*");
    m_tracer.TraceTheCall("*");
    m_tracer.SetFileName("trace");
    TRACE_FUNCTION("a");
    TRACE_MESSAGE(MSG_ERROR, "lost");
    m_tracer.addToLevelMask(MSG_ERROR);
    TRACE_MESSAGE(MSG_ERROR, "written");
    TRACE_MESSAGE(MSG_DEBUG, "lost");
    m_tracer.addToLevelMask(MSG_LEVEL_5);
    TRACE_MESSAGE(MSG_LEVEL_5, "written");
    TRACE_MESSAGE(MSG_ERROR, "written");
    EXPECT_THAT(lines(),
                ElementsAre("a\n", "  >> [E] written\n", "  >> [5] written\n", "  >> [E] written\n"));
}

// Not in an unnamed namespace: clang's name of one holds a parenthesis, where the method's name would end.
namespace traced {

struct Widget {
    int method(int value) const {
        TRACE_METHOD();
        return value;
    }
    static void staticMethod() { TRACE_FUNCTION("Widget::staticMethod"); }
};

template <typename T>
struct Box {
    T unpack() const {
        TRACE_METHOD();
        return T();
    }
};

} // namespace traced

TEST_F(CallMarking, MethodsAreNamedByTheCompiler) {
    traceEverything();
    traced::Widget().method(3);
    traced::Widget::staticMethod();
    ASSERT_EQ(lines().size(), 2U);
    EXPECT_NE(lines()[0].find("Widget::method\n"), std::string::npos) << lines()[0];
    EXPECT_EQ(lines()[0].find(' '), std::string::npos) << lines()[0];
    EXPECT_EQ(lines()[1], "Widget::staticMethod\n");
}

TEST_F(CallMarking, MethodsOfTemplatesAreTraced) {
    traceEverything();
    traced::Box<int>().unpack();
    EXPECT_NE(file().find("::unpack\n"), std::string::npos) << file();
}

TEST_F(CallMarking, MethodNameIsWhatStandsBetweenTheLastBlankAndTheParenthesis) {
    EXPECT_EQ(Tracer::extractMethodName("virtual void ZevoLauncher::onDeviceArrival(std::string&)"),
              "ZevoLauncher::onDeviceArrival");
    EXPECT_EQ(Tracer::extractMethodName("void ZevoLauncher::init()"), "ZevoLauncher::init");
    EXPECT_EQ(Tracer::extractMethodName("init()"), "init");
    EXPECT_EQ(Tracer::extractMethodName("int f(int (*)(void))"), "f");
}

TEST_F(CallMarking, TextWithoutAParenthesisIsTheMethodNameAsItStands) {
    EXPECT_EQ(Tracer::extractMethodName("void no parenthesis"), "void no parenthesis");
    EXPECT_EQ(Tracer::extractMethodName(""), "");
    EXPECT_EQ(Tracer::extractMethodName("("), "");
    EXPECT_EQ(Tracer::extractMethodName("void ("), "");
}
