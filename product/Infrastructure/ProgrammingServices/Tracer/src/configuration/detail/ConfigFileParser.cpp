#include "detail/ConfigFileParser.h"

#include "Tracer.h"

#include <cstdio>
#include <cstdlib>

namespace kf::detail {

void tellSyntaxError(const KeywordLanguage& language, int line) {
    std::fprintf(stderr, "syntax error at line %d of %s config file\n", line, language.name);
}

void exitAfterSyntaxError() {
    Tracer::FinishBeforeExit();
    std::exit(1);
}

} // namespace kf::detail
