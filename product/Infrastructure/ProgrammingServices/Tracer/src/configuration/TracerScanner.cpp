#include "TracerScanner.h"

#include "MessageType.h"

#include <iterator>

namespace kf::detail {
namespace {

// In the order of TracerStatement.
constexpr KeywordStatement STATEMENTS[] = {
    {"TRACE_ON", KeywordArgument::None},
    {"TRACE_OFF", KeywordArgument::None},
    {"TRACE_INDENT_WITH_MARK", KeywordArgument::None},
    {"TRACE_FULL_INDENT", KeywordArgument::None},
    {"TRACE_CALL_EXIT", KeywordArgument::None},
    {"TRACE_CLOCK", KeywordArgument::None},
    {"TRACE_MUST_FLUSH", KeywordArgument::None},
    {"TRACE_OBJECT_COUNT", KeywordArgument::None},
    {"TRACE_SET_MSG_FILTER", KeywordArgument::Levels},
    {"TRACE_THE_THREAD", KeywordArgument::Names},
    {"TRACE_THE_CALL", KeywordArgument::Names},
    {"TRACE_SET_FILE_NAME", KeywordArgument::Name},
    {"TRACE_SET_MAX_LINES", KeywordArgument::Number},
    {"TRACE_SET_MAX_FILES", KeywordArgument::Number},
    {"TRACE_SET_BUFFER_FORMAT_HEX", KeywordArgument::None},
    {"TRACE_SET_BUFFER_FORMAT_DEC", KeywordArgument::None},
    {"TRACE_SET_BUFFER_FORMAT_CHR", KeywordArgument::None},
};

constexpr KeywordLevel LEVELS[] = {
    {"TRACE_DEBUG", MSG_DEBUG},     {"TRACE_ERROR", MSG_ERROR},     {"TRACE_WARNING", MSG_WARNING},
    {"TRACE_LEVEL_0", MSG_LEVEL_0}, {"TRACE_LEVEL_1", MSG_LEVEL_1}, {"TRACE_LEVEL_2", MSG_LEVEL_2},
    {"TRACE_LEVEL_3", MSG_LEVEL_3}, {"TRACE_LEVEL_4", MSG_LEVEL_4}, {"TRACE_LEVEL_5", MSG_LEVEL_5},
};

constexpr KeywordLanguage LANGUAGE = {STATEMENTS, std::size(STATEMENTS), LEVELS, std::size(LEVELS), "tracer"};

} // namespace

const KeywordLanguage& getTracerLanguage() {
    return LANGUAGE;
}

} // namespace kf::detail
