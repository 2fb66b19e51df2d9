#pragma once

#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Tracer.h"

#include <cstdint>
#include <string>
#include <unistd.h>

/// While one exists, every call and every message of the test program is traced into a file of its own.
class TraceCapture {
public:
    TraceCapture() {
        Tracer::SetInstance(&m_tracer);
        m_tracer.setEnabled(true);
        m_tracer.setDirectWrite(true);
        m_tracer.TraceTheThread("*");
        m_tracer.TraceTheCall("*");
        m_tracer.addToLevelMask(UINT32_MAX);
        m_tracer.SetFileName(m_folder / "trace");
    }

    Tracer& tracer() { return m_tracer; }

    /// The trace so far; empty before the first line.
    std::string text() const {
        const std::string path = m_folder / "trace_0.txt";
        return access(path.c_str(), F_OK) == 0 ? readFile(path) : std::string();
    }

private:
    TemporaryFolder m_folder;
    Tracer m_tracer;
};
