#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// The system calls and notices of the OS floor, replaced at link time (Substitute.h): each is counted or
// recorded, and fails if a test requests that. Otherwise the system's own call is made.
//
// WrappedCallsTest resets it before each test. Requests are made while no other thread runs.
struct WrappedCalls {
    // Requests: the result to return instead of calling the system.
    int pthreadCreateError = 0;
    std::function<void()> beforeThreadBody;   // pthread_create: what the new thread does first
    std::function<void()> afterThreadCreated; // and what the caller does before pthread_create returns
    int attrInitError = 0;
    int setDetachStateError = 0;
    int mutexError = 0; // of locking, trying and unlocking any mutex
    bool sleepAtOnce = false;
    bool entryTypesHidden = false; // readdir gives no types, as on some file systems

    // The errno with which calls fail. fsync: of a file, of a folder; fsetxattr: of an access list.
    int flushError = 0;
    int folderFlushError = 0;
    int renameError = 0;
    int lockError = 0;
    int lockInterruptions = 0; // so many calls are interrupted by a signal first
    int accessListError = 0;
    int linkError = 0;
    // read and write, of any file: how many calls a signal interrupts first, how many bytes a call takes at
    // most (0: any number), and how many calls succeed (-1: all) before one fails with the error.
    int interruptions = 0;
    std::size_t mostBytes = 0;
    int transfersBeforeError = -1;
    int transferError = 0;
    std::function<void()> beforeModeChange; // called just before an fchmod
    bool locksNeedWriting = false;          // flock: EBADF for a descriptor that only reads, as on NFS

    // _NSGetExecutablePath: the path to return; empty means the true one.
    std::string executablePath;
    bool executablePathFails = false;

    // FSFindFolder and FSRefMakePath: the status to return instead of calling them.
    int findFolderError = 0;
    int makePathError = 0;

    // FSRefMakePath: the path to return; empty means the true one.
    std::string folderPath;

    static WrappedCalls& get();
    static void reset();

    // The calls so far.
    static int joins();
    static int recursiveTypesSet();
    static int detachState();
    static std::vector<unsigned> microsecondsSlept();
    static std::vector<unsigned> secondsSlept();
    static std::vector<unsigned> executablePathSizes();
    static std::vector<int> foldersAskedFor(); // domain, folder type, create flag of each call in turn
    static unsigned folderPathSize();
    static std::vector<std::string> flushesAndRenames(); // "flush PATH" and "rename PATH PATH", in turn

    /// Contract violations, as "kind|condition|file|line".
    static std::vector<std::string> violations();
};
