/* The program in the bundles that a launcher starts. It first sends a mark that it runs, then waits until a
   signal ends it. */

#include "mark.h"

#include <string.h>

int main(int argumentCount, char** arguments) {
    const int64_t now = markClock();
    const int isNotifier = argumentCount > 0 && strstr(arguments[0], "/Murmel.app/") != NULL;
    sendMark(isNotifier ? MARK_NOTIFIER : MARK_MAIN_APPLICATION, now);
    for (;;)
        pause();
}
