#pragma once

#include "detail/KeywordLanguage.h"

#include <string>
#include <vector>

class Logger;
class Tracer;

namespace Zevo {

/// A line of a trace or log configuration as the product's parser interpreted it.
struct ReadLine {
    int statement = -1;                          ///< its index in the language; -1: none
    std::vector<kf::detail::KeywordToken> words; ///< all that were read, without the end of the line
    kf::detail::KeywordArguments arguments;      ///< of a complete statement
    bool isComplete = false;                     ///< the statement was executed
    bool hasEffect = false;                      ///< and was not ignored
    kf::detail::KeywordToken stop;               ///< of an incomplete line: the misplaced word
};

using ReadLines = std::vector<ReadLine>;

/// Reads a trace configuration into a tracer (borrowed, not registered), with the product's parser. Where the
/// product would end the process, this continues with the next line.
ReadLines readTraceConfiguration(const std::string& path, Tracer& tracer);
/// The same for the log.
ReadLines readLogConfiguration(const std::string& path, Logger& logger);

} // namespace Zevo
