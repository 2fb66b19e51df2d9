#include "ChildEnd.h"

#include <unistd.h>

#ifdef ZEVO_COVERAGE
extern "C" void __gcov_dump();
#endif

void endChild(int status) {
#ifdef ZEVO_COVERAGE
    __gcov_dump();
#endif
    _exit(status);
}
