#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// System calls and notices that the OS floor makes, replaced at link time (Substitute.h): each is counted or recorded, and fails when a test asks for it. Without a request the
// system's own call is made.
//
// Reset before each test by WrappedCallsTest. Requests are made while no other thread runs.
struct WrappedCalls {
    // Requests: the result to return instead of calling the system.
    int pthreadCreateError = 0;
    std::function<void()> beforeThreadBody;   // pthread_create: what the new thread does first
    std::function<void()> afterThreadCreated; // and what the caller does before it learns of the new thread
    int attrInitError = 0;
    int setDetachStateError = 0;
    int mutexError = 0; // of locking, trying and unlocking any mutex
    bool sleepAtOnce = false;
    bool entryTypesHidden = false; // of readdir: as on file systems that do not tell them

    // The errno that these fail with. fsync: of a file, of a folder; fsetxattr: of an access list.
    int flushError = 0;
    int folderFlushError = 0;
    int renameError = 0;
    int lockError = 0;
    int lockInterruptions = 0; // so many locks are interrupted by a signal first
    int accessListError = 0;
    int linkError = 0;
    // read and write, of anything: so many calls are interrupted by a signal first, no call takes more bytes than that
    // (0: no bound), and so many succeed (-1: all) before one fails with the error.
    int interruptions = 0;
    std::size_t mostBytes = 0;
    int transfersBeforeError = -1;
    int transferError = 0;
    std::function<void()> beforeModeChange; // what happens just before an fchmod
    bool locksNeedWriting = false;          // flock: EBADF for a descriptor that only reads, as on NFS

    // _NSGetExecutablePath: the path to tell instead of the true one; empty means the true one.
    std::string executablePath;
    bool executablePathFails = false;

    // FSFindFolder and FSRefMakePath: the status to return instead of calling them.
    int findFolderError = 0;
    int makePathError = 0;

    // The path that FSRefMakePath tells instead of the true one; empty means the true one.
    std::string folderPath;

    static WrappedCalls& get();
    static void reset();

    // What has been called.
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
