#include "BundleTest.h"

#include "CoreServices/ProcessFolder.h"
#include "CoreServices/RunningApplications.h"
#include "OtherProcess.h"
#include "Substitute.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;

namespace {

std::string g_refusedFile; // opening it finds no free descriptor

int openUnlessRefused(int (*original)(const char*, int, ...), const char* path, int flags, int mode) {
    EXPECT_NE(flags & O_CLOEXEC, 0) << path << " would reach an application that another thread starts";
    if (path != g_refusedFile)
        return original(path, flags, mode);
    errno = EMFILE;
    return -1;
}

int modeBehind(int flags, va_list more) {
    return (flags & O_CREAT) != 0 ? va_arg(more, int) : 0;
}

} // namespace

SUBSTITUTE(int, open, (const char* path, int flags, ...)) {
    va_list more;
    va_start(more, flags);
    const int mode = modeBehind(flags, more);
    va_end(more);
    return openUnlessRefused(ORIGINAL(open), path, flags, mode);
}

// Called instead in a 32-bit build, where it is the one for large files.
SUBSTITUTE(int, open64, (const char* path, int flags, ...)) {
    va_list more;
    va_start(more, flags);
    const int mode = modeBehind(flags, more);
    va_end(more);
    return openUnlessRefused(ORIGINAL(open64), path, flags, mode);
}

class Processes : public BundleTest {
protected:
    /// Runs the sample application at a path below the root, as a user would.
    pid_t run(const std::string& path) {
        const std::string file = inRoot(path);
        makeFolders(file.substr(0, file.rfind('/')));
        copyExecutable(file);
        const pid_t pid = runDirectly({file});
        reportOf(pid);
        return pid;
    }

    static ProcessSerialNumber numberOf(pid_t pid) {
        ProcessSerialNumber number = {0, kNoProcess};
        while (GetNextProcess(&number) == noErr)
            if (static_cast<pid_t>(number.lowLongOfPSN) == pid)
                break;
        return number;
    }
};

TEST_F(Processes, AnEmptyListEndsAtOnce) {
    ProcessSerialNumber number = {0, kNoProcess};
    EXPECT_EQ(GetNextProcess(&number), procNotFound);
    EXPECT_EQ(GetNextProcess(&number), -600);
    EXPECT_EQ(number.highLongOfPSN, 0u);
    EXPECT_EQ(number.lowLongOfPSN, 0u);
}

TEST_F(Processes, AMissingArgumentIsRefused) {
    EXPECT_EQ(GetNextProcess(nullptr), paramErr);
}

TEST_F(Processes, OnlyThoseInABundleAreListed) {
    const pid_t inBundle = run("/Applications/A.app/Contents/MacOS/A");
    const pid_t helper = run("/Applications/A.app/Contents/Resources/tool");
    run("/Applications/plain");
    run("/Applications/A.app.old/A");
    run("/Applications/tool.app");
    EXPECT_EQ(bundleOf(inBundle), "/Applications/A.app");
    EXPECT_EQ(bundleOf(helper), "/Applications/A.app");
    EXPECT_EQ(runningProcesses().size(), 2u);
}

TEST_F(Processes, TheInnermostBundleIsReported) {
    const pid_t pid = run("/Applications/Quillmarsh.app/Contents/MacOS/Murmel.app/Contents/MacOS/Murmel");
    EXPECT_EQ(bundleOf(pid), "/Applications/Quillmarsh.app/Contents/MacOS/Murmel.app");
}

TEST_F(Processes, SeveralOfOneBundleAreListedSeverally) {
    run("/A.app/a");
    run("/A.app/b");
    EXPECT_THAT(runningBundles(), ElementsAre("/A.app", "/A.app"));
}

TEST_F(Processes, AreListedByAscendingId) {
    for (const char* path : {"/A.app/a", "/B.app/b", "/C.app/c"})
        run(path);
    const std::vector<pid_t> listed = runningProcesses();
    EXPECT_EQ(listed.size(), 3u);
    EXPECT_TRUE(std::is_sorted(listed.begin(), listed.end()));
}

TEST_F(Processes, OneThatWasDeletedIsStillListed) {
    const pid_t pid = run("/A.app/Contents/MacOS/A");
    ASSERT_EQ(unlink(inRoot("/A.app/Contents/MacOS/A").c_str()), 0);
    EXPECT_EQ(bundleOf(pid), "/A.app");
}

TEST_F(Processes, OneWhoseBundleMovedIsListedWhereItIs) {
    const pid_t pid = run("/A.app/Contents/MacOS/A");
    ASSERT_EQ(rename(inRoot("/A.app").c_str(), inRoot("/B.app").c_str()), 0);
    EXPECT_EQ(bundleOf(pid), "/B.app");
}

TEST_F(Processes, OneThatHasEndedButWasNotWaitedForIsNotListed) {
    const pid_t pid = run("/A.app/A");
    ASSERT_EQ(bundleOf(pid), "/A.app");
    kill(pid, SIGKILL);
    EXPECT_TRUE(comesTrue([pid] { return bundleOf(pid).empty(); }));
    EXPECT_EQ(kill(pid, 0), 0) << "it is still there to be waited for";
    EXPECT_THAT(runningBundles(), IsEmpty());
}

TEST_F(Processes, OneThatEndsInTheMiddleOfAWalkIsSteppedOver) {
    std::vector<pid_t> pids = {run("/A.app/a"), run("/B.app/b"), run("/C.app/c")};
    std::sort(pids.begin(), pids.end());
    ProcessSerialNumber number = {0, kNoProcess};
    ASSERT_EQ(GetNextProcess(&number), noErr);
    ASSERT_EQ(static_cast<pid_t>(number.lowLongOfPSN), pids[0]);
    kill(pids[0], SIGKILL);
    kill(pids[1], SIGKILL);
    ASSERT_TRUE(comesTrue([&] {
        LinuxPlatform::RunningApplication application;
        return LinuxPlatform::findRunningApplication(pids[0], application) == ESRCH &&
               LinuxPlatform::findRunningApplication(pids[1], application) == ESRCH;
    }));
    EXPECT_EQ(ProcessInformationCopyDictionary(&number, kProcessDictionaryIncludeAllInformationMask),
              nullptr);
    std::vector<pid_t> rest;
    while (GetNextProcess(&number) == noErr) {
        const CFDictionaryRef information =
            ProcessInformationCopyDictionary(&number, kProcessDictionaryIncludeAllInformationMask);
        if (information != nullptr) {
            rest.push_back(static_cast<pid_t>(number.lowLongOfPSN));
            CFRelease(information);
        }
    }
    EXPECT_THAT(rest, ElementsAre(pids[2]));
}

TEST_F(Processes, ANewWalkSeesWhatHasStartedMeanwhile) {
    EXPECT_THAT(runningBundles(), IsEmpty());
    run("/A.app/a");
    EXPECT_THAT(runningBundles(), ElementsAre("/A.app"));
}

TEST_F(Processes, AWalkMayBeginAtAnyNumber) {
    std::vector<pid_t> pids = {run("/A.app/a"), run("/B.app/b")};
    std::sort(pids.begin(), pids.end());
    ProcessSerialNumber number = numberOf(pids[0]);
    EXPECT_EQ(GetNextProcess(&number), noErr);
    EXPECT_EQ(static_cast<pid_t>(number.lowLongOfPSN), pids[1]);
    EXPECT_EQ(GetNextProcess(&number), procNotFound);
    EXPECT_EQ(number.highLongOfPSN, 0u);
    EXPECT_EQ(number.lowLongOfPSN, 0u);
}

TEST_F(Processes, AnUnreadableListIsAnEmptyOne) {
    run("/A.app/a");
    // Without a descriptor, /proc cannot be opened. It gives the end of the list: after any other error,
    // callers retry.
    std::vector<int> files;
    for (int file = dup(0); file >= 0; file = dup(0))
        files.push_back(file);
    ProcessSerialNumber number = {0, kNoProcess};
    EXPECT_EQ(GetNextProcess(&number), procNotFound);
    for (const int file : files)
        close(file);
    EXPECT_THAT(runningBundles(), ElementsAre("/A.app"));
}

TEST_F(Processes, ThoseOfOtherUsersAreNotListed) {
    const std::string file = inRoot("/A.app/A");
    makeFolders(inRoot("/A.app"));
    copyExecutable(file);
    const pid_t child = fork();
    if (child == 0) {
        // By its descriptor, because another user may not search the folders above. Only the superuser can
        // become another user; any other user's process stays their own.
        const int opened = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
        const uid_t nobody = 65534;
        if (geteuid() == 0 && setuid(nobody) != 0)
            _exit(1);
        signal(SIGTERM, SIG_DFL);
        const char* arguments[] = {"A", "--wait", nullptr};
        const char* environment[] = {nullptr};
        fexecve(opened, const_cast<char**>(arguments), const_cast<char**>(environment));
        _exit(1);
    }
    const std::string link = "/proc/" + std::to_string(child) + "/exe";
    EXPECT_TRUE(comesTrue([&] {
        char target[4096];
        const ssize_t length = readlink(link.c_str(), target, sizeof target);
        return length > 0 && std::string(target, static_cast<size_t>(length)) == file;
    }));
    const std::vector<std::string> expected(geteuid() == 0 ? 0 : 1, "/A.app");
    EXPECT_EQ(runningBundles(), expected);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

TEST_F(Processes, OutsideOfTheRootNothingIsListed) {
    run("/A.app/A");
    run("/inner/B.app/B");
    const ScopedVariable variable("PLATFORM_ROOT", inRoot("/inner").c_str());
    EXPECT_THAT(runningBundles(), ElementsAre("/B.app"));
}

TEST_F(Processes, WithoutARootPathsAreReportedWhole) {
    const pid_t pid = run("/A.app/A");
    const ScopedVariable variable("PLATFORM_ROOT", nullptr);
    EXPECT_EQ(bundleOf(pid), inRoot("/A.app"));
}

// ---- processes that the system lets nobody inspect

class ClosedProcess : public Processes {
protected:
    /// Whether an ordinary user sees these bundles.
    static bool areSeen(const std::vector<std::string>& bundles) {
        return boundByFileModes([&] { return runningBundles() == bundles; });
    }

    ScopedVariable m_closed{"SAMPLE_CLOSED", "1"};
};

TEST_F(ClosedProcess, IsListedByItsCommandLine) {
    const pid_t pid = run("/Applications/A.app/Contents/MacOS/A");
    EXPECT_TRUE(boundByFileModes([&] {
        char target[64];
        const std::string link = "/proc/" + std::to_string(pid) + "/exe";
        return readlink(link.c_str(), target, sizeof target) < 0 && errno == EACCES;
    }));
    EXPECT_TRUE(areSeen({"/Applications/A.app"}));
    end(pid);
    EXPECT_TRUE(areSeen({}));
}

TEST_F(ClosedProcess, OfALongNameIsListedToo) {
    run("/A.app/Contents/MacOS/AProgramWithALongName");
    EXPECT_TRUE(areSeen({"/A.app"}));
}

TEST_F(ClosedProcess, WhoseFileWasDeletedIsStillListed) {
    run("/A.app/a");
    ASSERT_EQ(unlink(inRoot("/A.app/a").c_str()), 0);
    EXPECT_TRUE(areSeen({"/A.app"}));
}

TEST_F(ClosedProcess, StartedByALinkIsListedWhereItLies) {
    makeFolders(inRoot("/A.app"));
    copyExecutable(inRoot("/A.app/a"));
    ASSERT_EQ(symlink("A.app", inRoot("/Link.app").c_str()), 0);
    reportOf(runDirectly({inRoot("/Link.app/a")}));
    EXPECT_TRUE(areSeen({"/A.app"}));
}

TEST_F(ClosedProcess, OutsideOfABundleIsNotListed) {
    run("/plain/a");
    reportOf(runDirectly({"a"}, inRoot("/plain/a")));
    EXPECT_TRUE(areSeen({}));
}

TEST_F(ClosedProcess, ThatClaimsToRunAnotherFileIsNotListed) {
    makeFolders(inRoot("/A.app"));
    copyExecutable(inRoot("/A.app/a"));
    copyExecutable(inRoot("/other"));
    reportOf(runDirectly({inRoot("/A.app/a")}, inRoot("/other")));
    EXPECT_TRUE(areSeen({}));
}

// The folder to which its path was relative is not known any more.
TEST_F(ClosedProcess, StartedByARelativePathIsNotListed) {
    makeFolders(inRoot("/A.app"));
    copyExecutable(inRoot("/A.app/a"));
    reportOf(runDirectly({"A.app/a"}, inRoot("/A.app/a")));
    const int before = ::open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(chdir(inRoot("").c_str()), 0);
    EXPECT_TRUE(areSeen({})) << "not even where the path happens to lead to the file";
    ASSERT_EQ(fchdir(before), 0);
    close(before);
}

// ---- no list of processes

class NoProcessList : public Processes {
protected:
    NoProcessList() { makeFolders(processes()); }
    ~NoProcessList() override { LinuxPlatform::readProcessesFrom("/proc"); }

    std::string processes() const { return inRoot("/processes"); }
    void link(const std::string& name, pid_t pid) const {
        ASSERT_EQ(symlink(std::to_string(pid).c_str(), (processes() + "/" + name).c_str()), 0);
    }

    /// Lists the processes, which must fail, and walks through them, which must find none; returns standard
    /// error.
    std::string saidOfALook() const {
        LinuxPlatform::readProcessesFrom(processes());
        testing::internal::CaptureStderr();
        std::vector<LinuxPlatform::RunningApplication> applications;
        EXPECT_EQ(LinuxPlatform::listRunningApplications(applications), ESRCH);
        EXPECT_THAT(runningBundles(), IsEmpty());
        return testing::internal::GetCapturedStderr();
    }

    std::string notShown() const {
        return "CoreServices: " + processes() +
               " does not show this process, so it tells of no other either; no application will be "
               "started\n";
    }
};

TEST_F(NoProcessList, IsAFolderThatIsEmpty) {
    EXPECT_EQ(saidOfALook(), notShown());
}

TEST_F(NoProcessList, IsAFolderThatIsMissing) {
    ASSERT_EQ(rmdir(processes().c_str()), 0);
    EXPECT_EQ(saidOfALook(), notShown());
}

TEST_F(NoProcessList, IsAFolderWithoutThisProcess) {
    link("self", getpid());
    makeFolders(processes() + "/1");
    EXPECT_EQ(saidOfALook(), notShown());
}

TEST_F(NoProcessList, IsTheOneOfAnotherNamespace) {
    link("self", getpid() + 1);
    makeFolders(processes() + "/" + std::to_string(getpid()));
    EXPECT_EQ(saidOfALook(), notShown());
}

TEST_F(NoProcessList, IsToldAgainAfterOneThatCouldBeRead) {
    EXPECT_EQ(saidOfALook(), notShown());
    EXPECT_EQ(saidOfALook(), "");
    LinuxPlatform::readProcessesFrom("/proc");
    run("/A.app/a");
    EXPECT_THAT(runningBundles(), ElementsAre("/A.app"));
    EXPECT_EQ(saidOfALook(), notShown());
}

// ---- processes that were no applications in the last list

class FormerlyOther : public Processes {
protected:
    /// To be called before a list: what it finds about a process is used again only while that sleeps.
    static void waitUntilItSleeps(pid_t pid) {
        ASSERT_TRUE(comesTrue([&] {
            std::string status;
            std::getline(std::ifstream("/proc/" + std::to_string(pid) + "/stat"), status);
            return status.find(") S ") != std::string::npos;
        }));
    }
};

TEST_F(FormerlyOther, OneThatBecomesAnApplicationIsListed) {
    const std::string file = inRoot("/A.app/a");
    makeFolders(inRoot("/A.app"));
    copyExecutable(file);
    const std::string pipe = inRoot("/pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const pid_t pid = runDirectly({"sh", "-c", "read line <\"$0\"; exec \"$1\"", pipe, file});
    waitUntilItSleeps(pid);
    EXPECT_THAT(runningBundles(), IsEmpty());
    EXPECT_THAT(runningBundles(), IsEmpty());
    std::ofstream(pipe) << "go on\n";
    reportOf(pid);
    EXPECT_THAT(runningBundles(), ElementsAre("/A.app"));
}

TEST_F(FormerlyOther, OneThatCameForOneThatEndedIsListed) {
    const pid_t other = run("/plain");
    waitUntilItSleeps(other);
    EXPECT_THAT(runningBundles(), IsEmpty());
    endWithoutALook(other);
    run("/A.app/a"); // possibly as many processes as before
    EXPECT_THAT(runningBundles(), ElementsAre("/A.app"));
}

TEST_F(FormerlyOther, OneThatSleepsInAFolderThatBecomesABundleIsListedOnceItHasRun) {
    const pid_t pid = run("/plain/a");
    waitUntilItSleeps(pid);
    EXPECT_THAT(runningBundles(), IsEmpty());
    ASSERT_EQ(rename(inRoot("/plain").c_str(), inRoot("/A.app").c_str()), 0);
    EXPECT_THAT(runningBundles(), IsEmpty());
    kill(pid, SIGSTOP);
    kill(pid, SIGCONT);
    EXPECT_TRUE(comesTrue([] { return runningBundles() == std::vector<std::string>{"/A.app"}; }));
}

TEST_F(FormerlyOther, OneThatCouldNotBeLookedAtIsListedLater) {
    const pid_t pid = run("/A.app/a");
    waitUntilItSleeps(pid);
    EXPECT_TRUE(inAnotherProcess([] {
        struct rlimit before;
        getrlimit(RLIMIT_NOFILE, &before);
        leaveDescriptors(1);
        const bool isHidden = runningBundles().empty();
        setrlimit(RLIMIT_NOFILE, &before);
        return isHidden && runningBundles() == std::vector<std::string>{"/A.app"};
    }));
}

TEST_F(Processes, OneThatCannotBeReadForLackOfADescriptorIsNotSaidToHaveEnded) {
    const pid_t pid = run("/A.app/a");
    for (const char* file : {"status", "stat"}) {
        g_refusedFile = "/proc/" + std::to_string(pid) + "/" + file;
        LinuxPlatform::RunningApplication application;
        EXPECT_EQ(LinuxPlatform::findRunningApplication(pid, application), EMFILE) << file;
        std::vector<LinuxPlatform::RunningApplication> all;
        EXPECT_EQ(LinuxPlatform::listRunningApplications(all), EMFILE) << file;
        g_refusedFile.clear();
        EXPECT_EQ(LinuxPlatform::findRunningApplication(pid, application), 0) << file;
    }
}

// ---- scripts that nobody launched

class ScriptProcess : public Processes {
protected:
    /// Runs a command that contains a bundle's script; returns the bundle with which the process is listed.
    std::string bundleOfCommand(const std::vector<std::string>& command) {
        const pid_t pid = runDirectly(command);
        reportOf(pid);
        return bundleOf(pid);
    }
    std::string script() const { return inRoot("/S.app/Contents/MacOS/S"); }
};

TEST_F(ScriptProcess, IsListedWithItsBundle) {
    addScriptBundle("/S.app", "S", "#!/bin/sh");
    EXPECT_EQ(bundleOfCommand({script()}), "/S.app");
    EXPECT_EQ(bundleOfCommand({"sh", script()}), "/S.app");
    EXPECT_EQ(bundleOfCommand({"sh", "-u", script()}), "/S.app");
}

TEST_F(ScriptProcess, WithAnOptionInItsFirstLineIsListedToo) {
    addScriptBundle("/S.app", "S", "#! /bin/sh -u");
    EXPECT_EQ(bundleOfCommand({script()}), "/S.app");
}

TEST_F(ScriptProcess, FoundByTheSearchPathIsListedToo) {
    addScriptBundle("/S.app", "S", "#!/usr/bin/env sh");
    EXPECT_EQ(bundleOfCommand({script()}), "/S.app");
}

TEST_F(ScriptProcess, AnotherProgramWorkingOnTheScriptIsNotListed) {
    addScriptBundle("/S.app", "S", "#!/bin/sh");
    const pid_t viewer = runDirectly({"tail", "-f", script()});
    const pid_t lookalike = run("/looks-like-sh");
    ASSERT_TRUE(comesTrue([&] {
        std::string name;
        std::ifstream("/proc/" + std::to_string(viewer) + "/comm") >> name;
        return name == "tail";
    }));
    EXPECT_THAT(runningBundles(), IsEmpty());
    end(viewer);
    end(lookalike);
}

TEST_F(ScriptProcess, AFileInABundleThatIsNoScriptMakesNone) {
    makeFolders(inRoot("/S.app/Contents/MacOS"));
    writeFile(script(), ": sh\ncat $SAMPLE_REPORTS/lifeline\nexit 0\n", 0755);
    const pid_t pid = runDirectly({"sh", script()});
    ASSERT_TRUE(comesTrue([&] {
        std::string children;
        std::ifstream("/proc/" + std::to_string(pid) + "/task/" + std::to_string(pid) + "/children") >>
            children;
        return !children.empty();
    }));
    EXPECT_THAT(runningBundles(), IsEmpty());
    end(pid);
}

// ---- information about a process

class ProcessInformation : public Processes {
protected:
    static std::string text(CFDictionaryRef information, CFStringRef key) {
        const auto value = static_cast<CFStringRef>(CFDictionaryGetValue(information, key));
        char buffer[4096] = "(none)";
        if (value != nullptr)
            CFStringGetCString(value, buffer, sizeof buffer, kCFStringEncodingUTF8);
        return buffer;
    }
};

TEST_F(ProcessInformation, TellsBundleExecutableAndIds) {
    const pid_t pid = run("/Applications/A.app/Contents/MacOS/program");
    const ProcessSerialNumber number = numberOf(pid);
    const CFDictionaryRef information =
        ProcessInformationCopyDictionary(&number, kProcessDictionaryIncludeAllInformationMask);
    ASSERT_NE(nullptr, information);
    EXPECT_EQ(text(information, CFSTR("BundlePath")), "/Applications/A.app");
    EXPECT_EQ(text(information, CFSTR("CFBundleName")), "A");
    EXPECT_EQ(text(information, CFSTR("CFBundleExecutable")),
              inRoot("/Applications/A.app/Contents/MacOS/program"));
    long reportedPid = 0;
    CFNumberGetValue(static_cast<CFNumberRef>(CFDictionaryGetValue(information, CFSTR("pid"))),
                     kCFNumberLongType, &reportedPid);
    EXPECT_EQ(reportedPid, pid);
    long long reportedNumber = 0;
    CFNumberGetValue(static_cast<CFNumberRef>(CFDictionaryGetValue(information, CFSTR("PSN"))),
                     kCFNumberLongLongType, &reportedNumber);
    EXPECT_EQ(static_cast<UInt64>(reportedNumber),
              static_cast<UInt64>(number.highLongOfPSN) << 32 | number.lowLongOfPSN);
    EXPECT_EQ(CFGetRetainCount(information), 1);
    CFRelease(information);
}

TEST_F(ProcessInformation, IsAskedForByANumberOfStartTimeAndId) {
    const pid_t pid = run("/A.app/A");
    LinuxPlatform::ProcessStatus status;
    ASSERT_EQ(LinuxPlatform::ProcessFolder(pid).readStatus(status), 0);
    const ProcessSerialNumber number = numberOf(pid);
    EXPECT_EQ(number.highLongOfPSN, 0x80000000u | static_cast<UInt32>(status.startTime));
    EXPECT_EQ(number.lowLongOfPSN, static_cast<UInt32>(pid));
}

TEST_F(ProcessInformation, LeavesAPathThatIsNoTextOut) {
    const pid_t pid = run("/\xFF.app/A");
    const ProcessSerialNumber number = numberOf(pid);
    const CFDictionaryRef information =
        ProcessInformationCopyDictionary(&number, kProcessDictionaryIncludeAllInformationMask);
    ASSERT_NE(nullptr, information);
    EXPECT_FALSE(CFDictionaryContainsKey(information, CFSTR("BundlePath")));
    CFRelease(information);
}

TEST_F(ProcessInformation, HasNothingOnOthersAndOnNone) {
    const pid_t pid = run("/A.app/A");
    const auto informationOf = [](ProcessSerialNumber number) {
        return ProcessInformationCopyDictionary(&number, kProcessDictionaryIncludeAllInformationMask);
    };
    EXPECT_EQ(ProcessInformationCopyDictionary(nullptr, 0), nullptr);
    EXPECT_EQ(informationOf({0, kNoProcess}), nullptr);
    EXPECT_EQ(informationOf({0x80000000u, static_cast<UInt32>(getpid())}), nullptr) << "runs no bundle";
    ProcessSerialNumber earlier = numberOf(pid);
    --earlier.highLongOfPSN;
    EXPECT_EQ(informationOf(earlier), nullptr) << "a process that had this id before";
}
