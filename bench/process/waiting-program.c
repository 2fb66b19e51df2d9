/* The least that a waiting program can be. */

#include <poll.h>
#include <stddef.h>

int main(void) {
    for (;;)
        poll(NULL, 0, -1);
}
