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

/// The keywords and level words of the trace configuration language.
const KeywordLanguage& getTracerLanguage();

} // namespace kf::detail

/// The scanner of the trace configuration language. A subclass supplies the text.
class TracerScanner : public kf::detail::KeywordScanner {
public:
    TracerScanner() : KeywordScanner(kf::detail::getTracerLanguage()) {}
};
