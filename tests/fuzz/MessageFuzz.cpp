#include "FuzzInput.h"
#include "Logger.h"
#include "Require.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "detail/QuickFormat.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace kf::detail;

// The formats come from the input, so the compiler cannot check them. The code below passes arguments that
// fit.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

// For a format with fitting arguments, any width, any flags and any text around: the log line is what
// vsnprintf writes, cut to the longest line, and QuickFormat writes the same or refuses.

namespace {

const std::size_t LONGEST = 20000;

/// Cuts a text as the logger cuts a line: see MessageText.
std::string limited(const std::string& text) {
    if (text.size() == 2048 || text.size() == LONGEST)
        return text.substr(0, text.size() - 1);
    return text.size() > LONGEST ? text.substr(0, LONGEST - 1) + " ..." : text;
}

std::string formatted(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::vector<char> buffer(LONGEST + 2);
    const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    va_end(arguments);
    return length < 0 ? std::string("?") : std::string(buffer.data());
}

void compareWithQuickFormat(const std::string& expected, const char* format, ...) {
    const QuickFormat quick(format);
    const std::vector<char> exact(expected.size() + 1);
    std::vector<char> buffer = exact;
    std::va_list arguments;
    va_start(arguments, format);
    const int length = quick.write(buffer.data(), buffer.size(), format, arguments);
    va_end(arguments);
    require(length == -1 || std::string(buffer.data()) == expected);
    std::vector<char> tooSmall(expected.size() / 2);
    va_start(arguments, format);
    require(tooSmall.empty() || quick.write(tooSmall.data(), tooSmall.size(), format, arguments) == -1 ||
            expected.size() < tooSmall.size());
    va_end(arguments);
}

/// A conversion with flags, width and precision from the input.
std::string conversion(FuzzInput& input, const char* length, const char* types) {
    static const char FLAGS[] = "-0+ #'";
    const std::uint8_t shape = input.byte();
    std::string text = "%";
    for (int flag = 0; flag < 6; ++flag)
        if ((shape >> flag & 1) != 0)
            text += FLAGS[flag];
    if ((shape & 0x40) != 0)
        text += std::to_string(input.byte());
    if ((shape & 0x80) != 0)
        text += "." + std::to_string(input.byte());
    text += length;
    text += types[input.byte() % std::strlen(types)];
    return text;
}

/// The text, escaped so that a format prints it literally.
std::string plain(const std::string& text) {
    std::string plainText;
    for (const char c : text.substr(0, text.find('\0')))
        plainText += c == '%' ? std::string("%%") : std::string(1, c);
    return plainText;
}

class LogFile {
public:
    LogFile() {
        m_logger.setMaximumFiles(-1);
        m_logger.SetFileName(m_folder / "log");
        m_logger.setEnabled(true);
    }
    template <typename... Arguments>
    void expectLine(const std::string& format, Arguments... arguments) {
        const std::string expected = formatted(format.c_str(), arguments...);
        compareWithQuickFormat(expected, format.c_str(), arguments...);
        m_logger.PrintMsg(MSG_ERROR, format.c_str(), arguments...);
        m_logger.WriteOnFile();
        const std::string content = readFile(m_folder / "log_0.txt");
        writeFile(m_folder / "log_0.txt", "");
        require(content == "[ERROR  ] " + limited(expected) + "\n");
    }

private:
    TemporaryFolder m_folder;
    Logger m_logger;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static LogFile file;
    FuzzInput input(data, size);
    const std::uint8_t kind = input.byte() % 8;
    const std::string before = plain(input.line());
    const std::string text = input.line();
    const std::string behind = plain(input.line());
    const auto format = [&](const char* length, const char* types) {
        return before + conversion(input, length, types) + behind;
    };
    switch (kind) {
    case 0:
        file.expectLine(before + "%%" + behind);
        break;
    case 1:
        file.expectLine(format("", "s"), text.c_str());
        break;
    case 2:
        file.expectLine(format("", "dixXuoc"), input.number<int>());
        break;
    case 3:
        file.expectLine(format("l", "dixXuo"), input.number<long>());
        break;
    case 4:
        file.expectLine(format("ll", "dixXuo"), input.number<long long>());
        break;
    case 5:
        file.expectLine(format("z", "dixXuo"), input.number<std::size_t>());
        break;
    case 6:
        file.expectLine(format("", "fFeEgGaA"), static_cast<double>(input.number<std::int64_t>()) / 997);
        break;
    default:
        file.expectLine(format("", "s") + format("", "d") + format("l", "u"), text.c_str(),
                        input.number<int>(), input.number<long>());
    }
    return 0;
}
