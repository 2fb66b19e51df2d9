#include "LoggerScanner.h"

#include "MessageType.h"

#include <iterator>

namespace kf::detail {
namespace {

// In the order of LoggerStatement.
constexpr KeywordStatement STATEMENTS[] = {
    {"LOG_ON", KeywordArgument::None},
    {"LOG_OFF", KeywordArgument::None},
    {"LOG_CLOCK", KeywordArgument::None},
    {"LOG_MUST_FLUSH", KeywordArgument::None},
    {"LOG_SET_FILE_NAME", KeywordArgument::Name},
    {"LOG_SET_MAX_LINES", KeywordArgument::Number},
    {"LOG_SET_MAX_FILES", KeywordArgument::Number},
    {"LOG_SET_MSG_FILTER", KeywordArgument::Levels},
};

constexpr KeywordLevel LEVELS[] = {
    {"LOG_DEBUG", MSG_DEBUG},     {"LOG_ERROR", MSG_ERROR},     {"LOG_WARNING", MSG_WARNING},
    {"LOG_LEVEL_0", MSG_LEVEL_0}, {"LOG_LEVEL_1", MSG_LEVEL_1}, {"LOG_LEVEL_2", MSG_LEVEL_2},
    {"LOG_LEVEL_3", MSG_LEVEL_3}, {"LOG_LEVEL_4", MSG_LEVEL_4}, {"LOG_LEVEL_5", MSG_LEVEL_5},
};

constexpr KeywordLanguage LANGUAGE = {STATEMENTS, std::size(STATEMENTS), LEVELS, std::size(LEVELS), "log"};

} // namespace

const KeywordLanguage& getLoggerLanguage() {
    return LANGUAGE;
}

} // namespace kf::detail
