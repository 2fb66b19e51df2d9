// The program of the sample bundles in these tests. It writes a report about its process, for the test to
// read, and runs until the test closes the lifeline: it never outlives the test, however the test ends.
//
//     SAMPLE_REPORTS=<folder> SampleApplication   writes <folder>/<process id>, waits for <folder>/lifeline;
//                                                 with SAMPLE_CLOSED set, nobody can inspect it
//     SampleApplication --delete-yourself         deletes its own file, prints its path before and after
//     SampleApplication --wait                    waits for the process that started it to end

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <mach-o/dyld.h>
#include <string>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

extern char** environ;

static std::string linkTarget(const std::string& path) {
    char target[4096];
    const ssize_t length = readlink(path.c_str(), target, sizeof target);
    return length < 0 ? std::string() : std::string(target, static_cast<size_t>(length));
}

static void reportOpenFiles(std::ofstream& report) {
    DIR* folder = opendir("/proc/self/fd");
    while (const dirent* entry = readdir(folder)) {
        const int file = atoi(entry->d_name);
        const bool isOwn =
            file == dirfd(folder) ||
            linkTarget("/proc/self/fd/" + std::to_string(file)).find(".part") != std::string::npos;
        if (entry->d_name[0] != '.' && !isOwn)
            report << "file " << file << "=" << linkTarget("/proc/self/fd/" + std::to_string(file)) << "\n";
    }
    closedir(folder);
}

static void reportSignals(std::ofstream& report) {
    std::string ignored;
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        struct sigaction action;
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
            ignored += std::to_string(signal) + " ";
    }
    std::string blocked;
    sigset_t mask;
    sigprocmask(SIG_SETMASK, nullptr, &mask);
    for (int signal = 1; signal <= SIGRTMAX; ++signal)
        if (sigismember(&mask, signal) == 1)
            blocked += std::to_string(signal) + " ";
    report << "ignored=" << ignored << "\nblocked=" << blocked << "\n";
}

static void writeReport(const std::string& folder, int argc) {
    const std::string path = folder + "/" + std::to_string(getpid());
    {
        std::ofstream report(path + ".part");
        const mode_t mask = umask(0);
        umask(mask);
        report << "parent=" << getppid() << "\nsession=" << getsid(0) << "\ngroup=" << getpgrp()
               << "\nfolder=" << linkTarget("/proc/self/cwd")
               << "\nexecutable=" << linkTarget("/proc/self/exe") << "\nmask=" << mask
               << "\narguments=" << argc << "\n";
        reportSignals(report);
        reportOpenFiles(report);
        for (char** entry = environ; *entry != nullptr; ++entry)
            report << "variable " << *entry << "\n";
    }
    if (rename((path + ".part").c_str(), path.c_str()) != 0)
        exit(1);
}

static void waitForEndOfLifeline(const std::string& folder) {
    const int lifeline = open((folder + "/lifeline").c_str(), O_RDONLY | O_CLOEXEC);
    char byte;
    while (lifeline >= 0 && (read(lifeline, &byte, 1) > 0 || errno == EINTR))
        errno = 0;
}

static void printExecutablePath() {
    char path[4096];
    uint32_t size = sizeof path;
    puts(_NSGetExecutablePath(path, &size) == 0 ? path : "(failed)");
}

int main(int argc, char** argv) {
    if (argc == 2 && strcmp(argv[1], "--delete-yourself") == 0) {
        printExecutablePath();
        if (unlink(argv[0]) != 0)
            return 1;
        printExecutablePath();
        return 0;
    }
    if (argc == 2 && strcmp(argv[1], "--wait") == 0) {
        const pid_t parent = getppid();
        while (getppid() == parent)
            usleep(1000);
        return 0;
    }
    const char* folder = getenv("SAMPLE_REPORTS");
    if (folder == nullptr)
        return 1;
    if (getenv("SAMPLE_CLOSED") != nullptr)
        prctl(PR_SET_DUMPABLE, 0);
    alarm(300); // in case another process holds the lifeline
    writeReport(folder, argc);
    waitForEndOfLifeline(folder);
    return 0;
}
