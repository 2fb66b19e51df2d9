/* The smallest program that waits. */

#include <poll.h>
#include <stddef.h>

int main(void) {
    for (;;)
        poll(NULL, 0, -1);
}
