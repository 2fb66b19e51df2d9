/* Preloaded into the launcher: one file is on a file system that does not respond.

   A thread that calls stat for the file named by ZEVO_HANGING_FILE waits in the kernel, where no signal
   interrupts it, as if a server were gone: it waits for a child that shares its memory (CLONE_VFORK) and
   never ends. The child is killed when the waiting thread ends. While the thread waits, a file of that name
   with ".waits" appended exists. */

#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

static char childsStack[16384] __attribute__((aligned(16)));

__attribute__((noreturn)) static int waitForEver(void* note) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    close(open(note, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    for (;;)
        pause();
}

static void hangAt(const char* path) {
    const char* hanging = getenv("ZEVO_HANGING_FILE");
    char note[4096];
    if (!hanging || strcmp(path, hanging) != 0)
        return;
    snprintf(note, sizeof note, "%s.waits", hanging);
    clone(waitForEver, childsStack + sizeof childsStack, CLONE_VM | CLONE_VFORK, note);
}

/* Switches the leak check off. It stops every thread at the end of the process, and the one that waits cannot
   be stopped. */
int __lsan_is_turned_off(void);

int __lsan_is_turned_off(void) {
    return 1;
}

int stat(const char* path, struct stat* status) {
    int (*next)(const char*, struct stat*) = (int (*)(const char*, struct stat*))dlsym(RTLD_NEXT, "stat");
    hangAt(path);
    return next(path, status);
}

int stat64(const char* path, struct stat64* status) {
    int (*next)(const char*, struct stat64*) = (int (*)(const char*, struct stat64*))dlsym(RTLD_NEXT, "stat64");
    hangAt(path);
    return next(path, status);
}
