#pragma once

#include "ContractRecorder.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Tracer.h"
#include "detail/FileRing.h"
#include "detail/KFLock.h"

#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

/// Cuts a text into its lines; each keeps its "\n".
inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line + "\n");
    return lines;
}

/// The lines of a trace without their thread columns, which differ from run to run.
inline std::vector<std::string> withoutThreadColumns(const std::string& text) {
    std::vector<std::string> lines = linesOf(text);
    for (std::string& line : lines) {
        const std::size_t columns =
            line.find("][") == std::string::npos ? std::string::npos : line.find(']', line.find("][") + 2);
        if (line.compare(0, 4, "[th_") == 0 && columns != std::string::npos)
            line.erase(0, columns + 1);
    }
    return lines;
}

/// A tracer for the test, registered and at first disabled, and a folder for its files.
class Traced : public testing::Test {
protected:
    Traced() {
        Tracer::SetInstance(&m_tracer);
        m_tracer.SetFolderName(m_folder.path() + "/");
    }
    ~Traced() override { EXPECT_EQ(takeContractViolations(), std::vector<std::string>{}); }

    /// Traces every thread, call and message, with direct writing, into "trace_0.txt".
    void traceEverything() {
        m_tracer.setEnabled(true);
        m_tracer.setDirectWrite(true);
        m_tracer.addToLevelMask(UINT32_MAX);
        m_tracer.TraceTheThread("*");
        m_tracer.TraceTheCall("*");
        m_tracer.SetFileName("trace");
    }
    /// The content of a file of the ring "trace"; "(none)" if it does not exist.
    std::string file(int index = 0) const {
        const std::string path = m_folder / ("trace_" + std::to_string(index) + ".txt");
        return access(path.c_str(), F_OK) == 0 ? readFile(path) : "(none)";
    }
    std::vector<std::string> lines() const { return withoutThreadColumns(file()); }
    const kf::detail::FileRing& ring() {
        const kf::detail::KFLock lock(m_tracer.getLock());
        return m_tracer.getFileRing();
    }

    TemporaryFolder m_folder;
    Tracer m_tracer;
};
