#include "TraceCheck.h"

#include "KeywordFileCheck.h"
#include "Suggestion.h"
#include "TracedFunctions.h"

#include "LoggerScanner.h"
#include "MessageType.h"
#include "Tracer.h"
#include "TracerScanner.h"
#include "detail/FileRing.h"
#include "detail/KFLock.h"
#include "detail/NamePattern.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

using namespace kf::detail;

namespace Zevo {
namespace {

const char MAIN_THREAD[] = "MAIN";

constexpr int indexOf(TracerStatement statement) {
    return static_cast<int>(statement);
}

const KeywordFileCheck::Dialect TRACE_DIALECT = {"trace",
                                                 "traced",
                                                 "the trace's file",
                                                 "the log's file",
                                                 getTracerLanguage(),
                                                 getLoggerLanguage(),
                                                 indexOf(TracerStatement::On),
                                                 indexOf(TracerStatement::Off),
                                                 indexOf(TracerStatement::SetFileName),
                                                 indexOf(TracerStatement::SetMaxLines),
                                                 indexOf(TracerStatement::SetMaxFiles),
                                                 100};

class TraceCheck {
public:
    TraceCheck(const SourceText& file, const ReadLines& lines, Tracer& tracer, Findings& findings)
        : m_common(TRACE_DIALECT, file, lines, findings), m_lines(lines), m_tracer(tracer) {}

    void check(const KeywordFileCheck::Ring& ring);
    const KeywordFileCheck& common() const { return m_common; }

private:
    bool checkSwitch();
    void checkIgnored();
    void checkThreads();
    void checkCalls();
    void checkCallPattern(const ReadLine& line, std::size_t index);
    void checkLevels();
    void addMissing(const char* id, const char* wrong, TracerStatement statement, const char* expected);

    KeywordFileCheck m_common;
    const ReadLines& m_lines;
    Tracer& m_tracer;
};

// The argument at this index behind a line's keyword.
const KeywordToken& argumentOf(const ReadLine& line, std::size_t index) {
    return line.words[index + 1];
}

// As for the log, but statements above TRACE_ON are ignored.
bool TraceCheck::checkSwitch() {
    if (!m_common.checkSwitch(m_tracer.isEnabled()))
        return false;
    if (m_common.lastOfAll()->statement == TRACE_DIALECT.on &&
        m_common.last(TRACE_DIALECT.setFileName) == nullptr) {
        m_common.add("on-stands-last", m_common.placeOf(*m_common.lastOfAll()),
                     "TRACE_ON stands last: every statement above it is ignored, the file's name too, so the "
                     "launcher ends at its start, with status 1",
                     "TRACE_ON above all other statements");
        return false;
    }
    return true;
}

void TraceCheck::checkIgnored() {
    for (const ReadLine& line : m_lines) {
        if (!line.isComplete || line.hasEffect || line.statement == TRACE_DIALECT.off)
            continue;
        m_common.add("statement-before-on", m_common.placeOf(line),
                     fmt::format("{} stands where the trace is off, so it is ignored",
                                 m_common.keyword(line.statement)),
                     "its place below TRACE_ON");
    }
}

void TraceCheck::addMissing(const char* id, const char* wrong, TracerStatement statement,
                            const char* expected) {
    if (m_common.has(indexOf(statement)))
        return; // it is there, but ignored, which is reported
    m_common.add(id, m_common.placeOf(*m_common.last(TRACE_DIALECT.on)), wrong, expected);
}

void TraceCheck::checkThreads() {
    const int statement = indexOf(TracerStatement::TheThread);
    if (m_common.last(statement) == nullptr) {
        addMissing("threads-missing", "no TRACE_THE_THREAD: no thread is traced", TracerStatement::TheThread,
                   "a line TRACE_THE_THREAD *");
        return;
    }
    for (const ReadLine& line : m_lines) {
        if (!line.isComplete || !line.hasEffect || line.statement != statement)
            continue;
        for (std::size_t i = 0; i < line.arguments.names.size(); ++i) {
            const std::string& name = line.arguments.names[i];
            // Unnamed threads are called th_ and a number.
            if (isNameCovered(name, MAIN_THREAD) || isNameCovered(name, "th_1") ||
                name.compare(0, 3, "th_") == 0)
                continue;
            m_common.add("thread-never-there", m_common.placeOf(argumentOf(line, i)),
                         fmt::format("no thread of the launcher is called {}: the one that works is {}", name,
                                     MAIN_THREAD),
                         "MAIN or *", meantBy(name, {MAIN_THREAD}));
        }
    }
    if (!m_tracer.isThreadPermittedToPrint(MAIN_THREAD))
        m_common.add(
            "main-thread-hidden", m_common.placeOf(*m_common.last(statement)),
            "MAIN is not permitted, and all of the launcher's work is done there: the trace stays empty",
            "a line TRACE_THE_THREAD *");
}

// All names that a pattern could be a misspelling of: functions, and classes with "::*".
const std::vector<std::string>& possiblePatterns() {
    static const std::vector<std::string> patterns = [] {
        std::set<std::string> all;
        for (const std::string_view function : tracedFunctions()) {
            all.emplace(function);
            const std::size_t colons = function.find("::");
            if (colons != std::string_view::npos)
                all.insert(std::string(function.substr(0, colons)) + "::*");
        }
        return std::vector<std::string>(all.begin(), all.end());
    }();
    return patterns;
}

void TraceCheck::checkCallPattern(const ReadLine& line, std::size_t index) {
    const std::string& name = line.arguments.names[index];
    const bool hides = name.front() == '-';
    const std::string pattern = hides ? name.substr(1) : name;
    const auto& functions = tracedFunctions();
    const bool isUsed = std::any_of(functions.begin(), functions.end(), [&](std::string_view function) {
        return hides ? isNameHidden(pattern, function) : isNameCovered(pattern, function);
    });
    if (isUsed)
        return;
    const Place place = m_common.placeOf(argumentOf(line, index));
    if (!hides && pattern.size() > 2 && pattern.front() == '*' && pattern.back() == '*') {
        m_common.add("call-pattern-two-stars", place,
                     fmt::format("stars at both ends only work behind \"-\": {} covers no function", name),
                     "one star, at the beginning or at the end");
        return;
    }
    const std::vector<std::string_view> candidates(possiblePatterns().begin(), possiblePatterns().end());
    const std::string meant = meantBy(pattern, candidates);
    m_common.add("call-pattern-matches-nothing", place,
                 fmt::format("the launcher has no traced function that {} covers", name),
                 "a function as Class::method", meant.empty() ? "" : (hides ? "-" : "") + meant);
}

void TraceCheck::checkCalls() {
    const int statement = indexOf(TracerStatement::TheCall);
    if (m_common.last(statement) == nullptr) {
        addMissing("calls-missing", "no TRACE_THE_CALL: no call is traced", TracerStatement::TheCall,
                   "a line TRACE_THE_CALL *");
        return;
    }
    for (const ReadLine& line : m_lines) {
        if (!line.isComplete || !line.hasEffect || line.statement != statement)
            continue;
        for (std::size_t i = 0; i < line.arguments.names.size(); ++i)
            checkCallPattern(line, i);
    }
    const auto& functions = tracedFunctions();
    const bool isAnyShown =
        std::any_of(functions.begin(), functions.end(), [this](std::string_view function) {
            return m_tracer.isCallPermittedToPrint(function) && !m_tracer.isCallForbiddenToPrint(function);
        });
    if (!isAnyShown)
        m_common.add("calls-all-hidden", m_common.placeOf(*m_common.last(statement)),
                     "the filters hide every function of the launcher: the trace stays empty",
                     "a line TRACE_THE_CALL * beside those that hide");
}

void TraceCheck::checkLevels() {
    const int statement = indexOf(TracerStatement::SetMsgFilter);
    const std::uint32_t mask = m_tracer.getLevelMask();
    if (mask == 0)
        addMissing("levels-missing", "no TRACE_SET_MSG_FILTER: calls are traced, but no message inside them",
                   TracerStatement::SetMsgFilter,
                   "a line TRACE_SET_MSG_FILTER TRACE_DEBUG TRACE_ERROR TRACE_WARNING");
    else if ((mask & MSG_ERROR) == 0)
        m_common.add("levels-without-errors", m_common.placeOf(*m_common.last(statement)),
                     "without TRACE_ERROR neither errors nor the cause of a crash are written",
                     "TRACE_ERROR, too");
    else if ((mask & MSG_DEBUG) == 0)
        m_common.add("levels-without-debug", m_common.placeOf(*m_common.last(statement)),
                     "without TRACE_DEBUG the trace tells neither which devices arrive nor what is started",
                     "TRACE_DEBUG, too");
}

void TraceCheck::check(const KeywordFileCheck::Ring& ring) {
    m_common.checkForm();
    m_common.checkArguments();
    if (!checkSwitch())
        return;
    checkIgnored();
    if (!m_common.isWithoutErrors())
        return; // what is missing may only be misspelt
    m_common.checkRing(ring);
    checkThreads();
    checkCalls();
    checkLevels();
}

} // namespace

RingResult checkTrace(const std::string& folder, const Outputs& outputs, Findings& findings) {
    const std::string path = folder + "tracer_zevolauncher.cfg";
    const SourceText file(path, path);
    if (!file.whyUnreadable().empty()) {
        findings.push_back({"trace-missing", file.wholeFile(), file.whyUnreadable() + ": nothing is traced",
                            "the trace's configuration", ""});
        return {};
    }
    Tracer tracer;
    tracer.SetFolderName(outputs.logFolder);
    const ReadLines lines = readTraceConfiguration(path, tracer);
    RingResult result;
    KeywordFileCheck::Ring ring;
    {
        const KFLock lock(tracer.getLock());
        tracer.lockIsHeld();
        const FileRing& files = tracer.getFileRing();
        ring = {files.getBaseFileName(), files.getMaximumFiles(), files.getMaximumLinesPerFile(),
                outputs.logFolder, outputs.freeBytes};
    }
    TraceCheck check(file, lines, tracer, findings);
    check.check(ring);
    result.isOn = tracer.isEnabled();
    if (const ReadLine* const named = check.common().last(TRACE_DIALECT.setFileName)) {
        const std::string& name = named->arguments.names.front();
        result.baseName = name == "console" || name == "msvc" ? "" : ring.baseName;
        result.file = file.shownName();
        result.line = named->words.front().line;
    }
    return result;
}

} // namespace Zevo
