#pragma once

#include "detail/KeywordScanner.h"

namespace kf::detail {

/// The statements of the trace configuration language, in the order of their table.
enum class TracerStatement {
    On,
    Off,
    IndentWithMark,
    FullIndent,
    CallExit,
    Clock,
    MustFlush,
    ObjectCount,
    SetMsgFilter,
    TheThread,
    TheCall,
    SetFileName,
    SetMaxLines,
    SetMaxFiles,
    SetBufferFormatHex,
    SetBufferFormatDec,
    SetBufferFormatChr,
};

/// The words and statements of the trace configuration language.
const KeywordLanguage& getTracerLanguage();

} // namespace kf::detail

/// Makes words of a trace configuration. A subclass supplies the text.
class TracerScanner : public kf::detail::KeywordScanner {
public:
    TracerScanner() : KeywordScanner(kf::detail::getTracerLanguage()) {}
};
