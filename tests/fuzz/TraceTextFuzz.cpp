#include "CallMarker.h"
#include "FuzzInput.h"
#include "Require.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "TraceStream.h"
#include "Tracer.h"

// Texts of traced code that the compiler does not check: streamed text, which is used as a format without
// arguments, and the function's signature as the compiler gives it, of which the trace shows the name.

namespace {

class TraceFile {
public:
    TraceFile() {
        Tracer::SetInstance(&m_tracer);
        m_tracer.setEnabled(true);
        m_tracer.addToLevelMask(UINT32_MAX);
        m_tracer.TraceTheThread("*");
        m_tracer.TraceTheCall("*");
        m_tracer.setMaximumFiles(1);
        m_tracer.setMaximumLinesPerFile(INT32_MAX);
        m_tracer.SetFileName(m_folder / "trace");
    }
    std::string takeLines() {
        m_tracer.WriteOnFile();
        const std::string lines = readFile(m_folder / "trace_0.txt");
        writeFile(m_folder / "trace_0.txt", "");
        return lines;
    }

private:
    TemporaryFolder m_folder;
    Tracer m_tracer;
};

void stream(const std::string& text) {
    TRACE_FUNCTION("stream");
    TRACE_STREAM(MSG_DEBUG) << text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static TraceFile file;
    const std::string text(reinterpret_cast<const char*>(data), size);

    stream(text);
    const std::string lines = file.takeLines();
    const std::size_t message = lines.find(">> [D] ");
    require(message != std::string::npos && lines.back() == '\n');
    if (text.find('%') == std::string::npos && text.size() < 1000)
        require(lines.find(">> [D] " + text.substr(0, text.find('\0')) + "\n") == message);

    const std::string signature = text.substr(0, text.find('\0'));
    const std::string name = Tracer::extractMethodName(signature.c_str());
    require(signature.find(name) != std::string::npos);
    return 0;
}
