/* The program inside the sample bundles: what the launcher starts in the demo and in the tests. It stays
   until SIGTERM and tells in <bundle>/Contents/started/<pid>.txt what it was given by whoever started it:

       pid=, parent=, session=, group=
       blocked=, ignored=       signal sets as /proc writes them
       fileModeMask=            octal
       descriptor=<number> <what it is>                one line each
       environment=<NAME>=<value>                      one line each

   The file appears as a whole. On SIGUSR1 it starts a child that ends at once, and adds the line "child=<pid>
   ended". */

#define _GNU_SOURCE
#include <dirent.h>
#include <libgen.h>
#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

static void copyStatusLine(FILE* report, const char* title, const char* name) {
    char line[256];
    FILE* status = fopen("/proc/self/status", "r");
    if (!status)
        return;
    while (fgets(line, sizeof line, status))
        if (strncmp(line, title, strlen(title)) == 0)
            fprintf(report, "%s=%s", name, line + strlen(title) + 2); /* past the colon and the tab */
    fclose(status);
}

/* Looks at the descriptors before anything of ours is open; the listing's own is left out. */
static void listDescriptors(char* text, size_t size) {
    DIR* folder = opendir("/proc/self/fd");
    struct dirent* entry;
    size_t length = 0;
    text[0] = '\0';
    while (folder && (entry = readdir(folder))) {
        char path[64], target[PATH_MAX];
        const int descriptor = atoi(entry->d_name);
        if (entry->d_name[0] == '.' || descriptor == dirfd(folder))
            continue;
        snprintf(path, sizeof path, "/proc/self/fd/%d", descriptor);
        const ssize_t end = readlink(path, target, sizeof target - 1);
        target[end < 0 ? 0 : end] = '\0';
        if (length < size)
            length +=
                (size_t)snprintf(text + length, size - length, "descriptor=%d %s\n", descriptor, target);
    }
    if (folder)
        closedir(folder);
}

static void nameReport(char* report, size_t size) {
    char executable[PATH_MAX];
    const ssize_t end = readlink("/proc/self/exe", executable, sizeof executable - 1);
    executable[end < 0 ? 0 : end] = '\0';
    const char* contents = dirname(dirname(executable)); /* <bundle>/Contents/MacOS/<program> */
    snprintf(report, size, "%s/started", contents);
    mkdir(report, 0777);
    snprintf(report, size, "%s/started/%d.txt", contents, (int)getpid());
}

static void writeReport(const char* path) {
    char unfinished[PATH_MAX + 64 + sizeof ".part"];
    char descriptors[8192];
    const mode_t mask = umask(0);
    umask(mask);
    listDescriptors(descriptors, sizeof descriptors);
    snprintf(unfinished, sizeof unfinished, "%s.part", path);
    FILE* report = fopen(unfinished, "w");
    if (!report)
        return;
    fprintf(report, "pid=%d\nparent=%d\nsession=%d\ngroup=%d\n", (int)getpid(), (int)getppid(),
            (int)getsid(0), (int)getpgrp());
    copyStatusLine(report, "SigBlk", "blocked");
    copyStatusLine(report, "SigIgn", "ignored");
    fprintf(report, "fileModeMask=%03o\n%s", (unsigned)mask, descriptors);
    for (char** variable = environ; *variable; ++variable)
        if (!strchr(*variable, '\n'))
            fprintf(report, "environment=%s\n", *variable);
    fclose(report);
    rename(unfinished, path);
}

static void startChildThatEnds(const char* path) {
    const pid_t child = fork();
    if (child == 0)
        _exit(0);
    waitpid(child, NULL, 0);
    FILE* report = fopen(path, "a");
    if (!report)
        return;
    fprintf(report, "child=%d ended\n", (int)child);
    fclose(report);
}

int main(void) {
    char path[PATH_MAX + 64];
    sigset_t awaited;
    int signal = 0;
    nameReport(path, sizeof path);
    writeReport(path);
    sigemptyset(&awaited);
    sigaddset(&awaited, SIGTERM);
    sigaddset(&awaited, SIGUSR1);
    sigprocmask(SIG_BLOCK, &awaited, NULL);
    while (sigwait(&awaited, &signal) == 0 && signal != SIGTERM)
        startChildThatEnds(path);
    return 0;
}
