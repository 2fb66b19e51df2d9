#include "LoggerModel.h"
#include "LogMessage.h"
#include "Logger.h"
#include "LoggerConfigFileParser.h"
#include "RingFiles.h"

#include <array>
#include <ctime>
#include <string>
#include <utime.h>
#include <vector>

// Random sequences of operations on the framework's logger and on its model, and changes of the files in
// between: after each step, the files of both hold the same bytes.

namespace {

enum class Operation {
    Log,
    PrintMessage,
    PrintString,
    Configure,
    WriteOnFile,
    Finish,
    SetDirectWrite,
    SetFileName,
    UpdateFileName,
    PutRing,
    Age,
    Remove,
    Block,
    Unblock,
};
constexpr std::array<const char*, 14> NAMES = {
    "Log",         "PrintMessage",   "PrintString", "Configure", "WriteOnFile", "Finish", "SetDirectWrite",
    "SetFileName", "UpdateFileName", "PutRing",     "Age",       "Remove",      "Block",  "Unblock"};

struct Step {
    Operation operation = Operation::Unblock;
    unsigned number = 0;
    std::string text;
    std::string configuration;
};

void showValue(const Step& step, std::ostream& out) {
    out << NAMES[static_cast<std::size_t>(step.operation)] << "(" << step.number << ", " << step.text.size()
        << " characters, \"" << step.configuration << "\")\n";
}

rc::Gen<std::string> someLogConfiguration() {
    return someConfiguration("LOG_", {"log_on", "LOG_SET_MSG_FILTER log_level_5", "LOG_SET_FILE_NAME log",
                                      "LOG_SET_FILE_NAME log"});
}

} // namespace

template <>
struct rc::Arbitrary<Step> {
    static Gen<Step> arbitrary() {
        const auto operation = gen::weightedElement<Operation>({
            {20, Operation::Log},
            {20, Operation::PrintMessage},
            {5, Operation::PrintString},
            {8, Operation::Configure},
            {15, Operation::WriteOnFile},
            {1, Operation::Finish},
            {3, Operation::SetDirectWrite},
            {6, Operation::SetFileName},
            {2, Operation::UpdateFileName},
            {6, Operation::PutRing},
            {6, Operation::Age},
            {2, Operation::Remove},
            {1, Operation::Block},
            {3, Operation::Unblock},
        });
        return gen::build<Step>(gen::set(&Step::operation, operation), gen::set(&Step::number),
                                gen::set(&Step::text, someMessage()),
                                gen::set(&Step::configuration, someLogConfiguration()));
    }
};

namespace {

class LoggerModelTest : public testing::Test {
protected:
    LoggerModelTest() : m_files(m_model.ring) {
        Logger::SetInstance(&m_logger);
        m_logger.SetFolderName(m_files.folder().path() + "/");
        m_logger.SetFileName("log");
        m_model.setFileName("log");
    }

    void configure(const std::string& text) {
        LoggerConfigFileParser(m_files.writeConfiguration(text).c_str(), &m_logger).parse();
        m_model.configure(text);
    }

    void perform(const Step& step) {
        const LoggerMsgType type = static_cast<LoggerMsgType>(1u << step.number % 10); // the last is no level
        const std::string path = m_files.folder() / ("log_" + std::to_string(step.number % 5) + ".txt");
        if (performShared(step.operation, m_logger, m_model, m_files, step.number, step.text, path))
            return;
        switch (step.operation) {
        case Operation::Log:
            LOG_MESSAGE(type, "%s", step.text.c_str());
            m_model.log(type, step.text);
            break;
        case Operation::PrintMessage:
            m_logger.PrintMsg(type, "%s", step.text.c_str());
            m_model.printMessage(type, step.text);
            break;
        case Operation::Configure:
            m_files.unblock(); // a file name statement reads the ring's files, which must not be folders
            configure(step.configuration);
            break;
        case Operation::Finish:
            m_logger.FinishLogging();
            m_model.finish();
            break;
        case Operation::SetFileName:
            m_files.unblock();
            m_logger.SetFileName("log");
            m_model.setFileName("log");
            break;
        case Operation::PutRing:
            putRing(step.number);
            break;
        case Operation::Age:
            age(path, step.number / 5);
            break;
        default:
            break; // shared
        }
    }

    /// Writes some files of a former run, with different contents and times.
    void putRing(unsigned number) {
        constexpr std::array<const char*, 4> CONTENTS = {"", "a line\n", "one\n\nthree\n",
                                                         "no line feed\nat the end"};
        for (unsigned file = 0; file <= number % 4; ++file) {
            const std::string path = m_files.folder() / ("log_" + std::to_string(file) + ".txt");
            const unsigned choice = number >> (2 + 5 * file);
            m_files.put(path, CONTENTS[choice % CONTENTS.size()]);
            age(path, choice / 4);
        }
    }

    /// Gives a file one of a few modification times, on several days and at several times of day.
    void age(const std::string& path, unsigned number) {
        constexpr std::time_t NOON = 1767182400; // on the last day of a year
        constexpr std::time_t HOUR = 3600;
        constexpr std::array<std::time_t, 6> TIMES = {
            NOON, NOON + 1, NOON - HOUR, NOON + 23 * HOUR, NOON + 24 * HOUR, NOON - 24 * HOUR};
        const struct utimbuf times = {TIMES[number % TIMES.size()], TIMES[number % TIMES.size()]};
        utime(path.c_str(), &times);
    }

    Logger m_logger;
    model::Logger m_model;
    RingFiles m_files;
};

RC_GTEST_FIXTURE_PROP(LoggerModelTest, WritesAsItsModel, (const std::vector<Step>& steps)) {
    configure(*rc::gen::elementOf(std::vector<std::string>{
        "", "LOG_ON\nLOG_SET_MAX_LINES 3\nLOG_SET_MAX_FILES 4\nLOG_SET_MSG_FILTER LOG_ERROR LOG_LEVEL_0\n"}));
    for (const Step& step : steps) {
        perform(step);
        RC_ASSERT(m_files.read() == m_model.ring.files);
        RC_ASSERT(m_logger.areAllMsgFlushed() == m_model.ring.isEmpty());
    }
}

} // namespace
