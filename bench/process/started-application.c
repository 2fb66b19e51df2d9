/* The program inside the bundles that a launcher starts: tells as its first act that it runs, and stays until
   it is told to quit. */

#include "mark.h"

#include <string.h>

int main(int argumentCount, char** arguments) {
    const int64_t now = markClock();
    const int isNotifier = argumentCount > 0 && strstr(arguments[0], "/Murmel.app/") != NULL;
    sendMark(isNotifier ? MARK_NOTIFIER : MARK_MAIN_APPLICATION, now);
    for (;;)
        pause();
}
