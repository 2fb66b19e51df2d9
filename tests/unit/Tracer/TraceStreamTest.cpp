#include "TraceStream.h"

#include "Traced.h"

#include <gmock/gmock.h>
#include <iomanip>

using testing::ElementsAre;

class Streaming : public Traced {
protected:
    Streaming() { traceEverything(); }
};

TEST_F(Streaming, WritesWhatWasStreamedAsOneMessage) {
    TRACE_FUNCTION("a");
    TRACE_STREAM(MSG_DEBUG) << "found " << 3 << " devices, " << std::hex << 255;
    EXPECT_THAT(lines(), ElementsAre("a\n", "  >> [D] found 3 devices, ff\n"));
}

TEST_F(Streaming, IsWrittenWhenTheStreamIsDestroyed) {
    CallMarker marker("a");
    {
        TraceStream stream(MSG_ERROR, marker);
        stream << "early";
        EXPECT_THAT(lines(), ElementsAre("a\n"));
        stream << " late";
    }
    EXPECT_THAT(lines(), ElementsAre("a\n", "  >> [E] early late\n"));
}

TEST_F(Streaming, ObeysTheSameConditionsAsAMessage) {
    m_tracer.TraceTheCall("-hidden");
    {
        TRACE_FUNCTION("hidden");
        TRACE_STREAM(MSG_DEBUG) << "lost";
    }
    TRACE_FUNCTION("a");
    m_tracer.setEnabled(false);
    TRACE_STREAM(MSG_DEBUG) << "lost";
    EXPECT_THAT(lines(), ElementsAre("a\n"));
}

TEST_F(Streaming, ObeysTheLevelMask) {
    Tracer masked;
    Tracer::SetInstance(&masked);
    masked.SetFileName(m_folder / "trace");
    masked.setDirectWrite(true);
    masked.setEnabled(true);
    masked.TraceTheThread("*");
    masked.TraceTheCall("*");
    masked.addToLevelMask(MSG_ERROR);
    TRACE_FUNCTION("a");
    TRACE_STREAM(MSG_DEBUG) << "lost";
    TRACE_STREAM(MSG_ERROR) << "written";
    EXPECT_THAT(lines(), ElementsAre("a\n", "  >> [E] written\n"));
}

TEST_F(Streaming, StreamedTextIsDeliberatelyAFormatWithoutArguments) {
    TRACE_FUNCTION("a");
    TRACE_STREAM(MSG_DEBUG) << "100%% of %5d and %s, %n nothing stored";
    EXPECT_THAT(lines(), ElementsAre("a\n", "  >> [D] 100% of     0 and ,  nothing stored\n"));
}

TEST_F(Streaming, HostileFormatIsCutLikeAnyLongMessage) {
    TRACE_FUNCTION("a");
    TRACE_STREAM(MSG_DEBUG) << "%2000000000d%2000000000d%*.*f%n";
    EXPECT_THAT(lines(), ElementsAre("a\n", "  >> [D] " + std::string(19999, ' ') + " ...\n"));
}

TEST_F(Streaming, EmptyStreamWritesAnEmptyMessage) {
    TRACE_FUNCTION("a");
    { TRACE_STREAM(MSG_DEBUG); }
    EXPECT_THAT(lines(), ElementsAre("a\n", "  >> [D] \n"));
}
