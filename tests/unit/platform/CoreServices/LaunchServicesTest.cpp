#include "BundleTest.h"

#include "CoreServices/RunningApplications.h"
#include "CoreServices/StartedApplications.h"
#include "OtherProcess.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <elf.h>
#include <functional>
#include <link.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <unistd.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

static const char BUNDLE[] = "/Applications/Quillmarsh.app";
static const char NESTED_BUNDLE[] = "/Applications/Quillmarsh.app/Contents/MacOS/Murmel.app";

static std::atomic<int> childSignals(0);

static void countChildSignal(int) {
    ++childSignals;
}

class LaunchServices : public BundleTest {
protected:
    LaunchServices() {
        addBundle(BUNDLE, "Quillmarsh");
        childSignals = 0;
        struct sigaction action = {};
        action.sa_handler = countChildSignal;
        sigaction(SIGCHLD, &action, &m_before);
    }
    ~LaunchServices() override { sigaction(SIGCHLD, &m_before, nullptr); }

    std::string executable() const { return inRoot(BUNDLE) + "/Contents/MacOS/Quillmarsh"; }

    static bool hasChildren() { return waitpid(-1, nullptr, WNOHANG | __WALL) != -1 || errno != ECHILD; }

    /// The open files of a sample application, except standard input, output and error on the null device.
    static std::vector<std::string> strangeFiles(const Report& report) {
        std::vector<std::string> strange;
        for (const auto& line : report) {
            const bool isStandard =
                line.first == "file 0" || line.first == "file 1" || line.first == "file 2";
            if (line.first.compare(0, 5, "file ") == 0 && !(isStandard && line.second == "/dev/null"))
                strange.push_back(line.first + "=" + line.second);
        }
        return strange;
    }

    /// Runs SampleLauncher for the bundle through a shell, which may change its umask and close descriptors.
    int launchByShell(const std::string& before, const std::string& after) const {
        const std::string command = before + " " SAMPLE_LAUNCHER " " + BUNDLE + " " + after;
        const int status = system(command.c_str());
        childSignals = 0;
        return status;
    }

private:
    struct sigaction m_before;
};

// ---- which program is started

TEST_F(LaunchServices, WithoutInfoPlistTheBundlesOwnNameCounts) {
    const pid_t pid = openedProcess(BUNDLE);
    EXPECT_EQ(reportOf(pid)["executable"], executable());
}

TEST_F(LaunchServices, TheApplicationRunsWhenTheCallReturns) {
    const pid_t pid = openedProcess(BUNDLE);
    char target[4096];
    const ssize_t length = readlink(("/proc/" + std::to_string(pid) + "/exe").c_str(), target, sizeof target);
    ASSERT_LT(0, length);
    EXPECT_EQ(executable(), std::string(target, static_cast<size_t>(length)));
    EXPECT_THAT(runningBundles(), ElementsAre(BUNDLE));
}

TEST_F(LaunchServices, TheNestedBundleIsAnApplicationOfItsOwn) {
    addBundle(NESTED_BUNDLE, "Murmel");
    const pid_t outer = openedProcess(BUNDLE);
    const pid_t inner = openedProcess(NESTED_BUNDLE, kLSLaunchAndHide);
    EXPECT_EQ(bundleOf(outer), BUNDLE);
    EXPECT_EQ(bundleOf(inner), NESTED_BUNDLE);
}

TEST_F(LaunchServices, TheSerialNumberIsThatOfTheProcessList) {
    addScriptBundle("/Script.app", "Script", "#!/bin/sh");
    FSRef reference;
    ASSERT_EQ(makeReference("/Script.app", reference), noErr);
    LSApplicationParameters parameters = {};
    parameters.application = &reference;
    for (const char* when : {"started", "found running"}) {
        ProcessSerialNumber number = {0, kNoProcess};
        ASSERT_EQ(LSOpenApplication(&parameters, &number), noErr);
        const CFDictionaryRef information =
            ProcessInformationCopyDictionary(&number, kProcessDictionaryIncludeAllInformationMask);
        ASSERT_NE(nullptr, information) << when;
        CFRelease(information);
    }
}

TEST_F(LaunchServices, ARunningBundleIsNotStartedTwice) {
    const pid_t first = openedProcess(BUNDLE);
    EXPECT_EQ(openedProcess(BUNDLE), first);
    EXPECT_EQ(open(BUNDLE, kLSLaunchAndHide), noErr);
    EXPECT_THAT(runningProcesses(), ElementsAre(first));
}

TEST_F(LaunchServices, OneStartedRightAfterTheListWasTakenIsNotStartedTwice) {
    for (int round = 0; round < 20; ++round) {
        EXPECT_THAT(runningBundles(), IsEmpty());
        const pid_t pid = openedProcess(BUNDLE);
        EXPECT_EQ(openedProcess(BUNDLE), pid);
        end(pid);
    }
}

TEST_F(LaunchServices, OneThatEndsRightAfterTheListWasTakenIsStartedAgain) {
    for (int round = 0; round < 20; ++round) {
        const pid_t pid = openedProcess(BUNDLE);
        EXPECT_EQ(bundleOf(pid), BUNDLE);
        end(pid);
    }
}

TEST_F(LaunchServices, ABundleRunByItsUserIsNotStartedAgain) {
    const pid_t users = runDirectly({executable()});
    ASSERT_TRUE(comesTrue([&] { return bundleOf(users) == BUNDLE; }));
    EXPECT_EQ(openedProcess(BUNDLE), users);
    EXPECT_THAT(runningProcesses(), ElementsAre(users));
}

TEST_F(LaunchServices, ABundleThatHasEndedIsStartedAgain) {
    const pid_t first = openedProcess(BUNDLE);
    end(first);
    const pid_t second = openedProcess(BUNDLE);
    EXPECT_NE(first, second);
    EXPECT_THAT(runningProcesses(), ElementsAre(second));
}

TEST_F(LaunchServices, ThreadsThatOpenOneBundleStartItOnce) {
    FSRef reference;
    ASSERT_EQ(makeReference(BUNDLE, reference), noErr);
    std::vector<std::thread> threads;
    std::atomic<int> failures(0);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            LSApplicationParameters parameters = {};
            parameters.application = &reference;
            parameters.flags = kLSLaunchDefaults;
            if (LSOpenApplication(&parameters, nullptr) != noErr)
                ++failures;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(runningProcesses().size(), 1u);
}

TEST_F(LaunchServices, LaunchersThatOpenOneBundleStartItOnce) {
    const int launchers = 4;
    for (int round = 0; round < 15; ++round) {
        int starter[2];
        ASSERT_EQ(pipe(starter), 0);
        std::vector<pid_t> children;
        for (int i = 0; i < launchers; ++i) {
            children.push_back(fork());
            if (children.back() == 0) {
                close(starter[1]);
                char byte;
                runningBundles(); // a launcher has read the list before
                _exit(read(starter[0], &byte, 1) == 0 && open(BUNDLE) == noErr ? WENT_WELL : 1);
            }
        }
        close(starter[0]);
        close(starter[1]); // starts all of them at once
        for (const pid_t child : children) {
            int status = 0;
            while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
            }
            EXPECT_EQ(WEXITSTATUS(status), WENT_WELL);
        }
        const std::vector<pid_t> running = runningProcesses();
        EXPECT_EQ(running.size(), 1u) << "in round " << round;
        for (const pid_t pid : running)
            end(pid);
    }
    childSignals = 0;
}

TEST_F(LaunchServices, OneThatNobodyMayLookIntoIsNotStartedTwice) {
    const ScopedVariable closed("SAMPLE_CLOSED", "1");
    EXPECT_TRUE(boundByFileModes([this] {
        const pid_t pid = openedProcess(BUNDLE);
        reportOf(pid);
        const bool isKnown = runningProcesses() == std::vector<pid_t>{pid} && bundleOf(pid) == BUNDLE &&
                             openedProcess(BUNDLE) == pid;
        end(pid);
        return isKnown && runningProcesses().empty();
    }));
    childSignals = 0;
}

TEST_F(LaunchServices, AScriptThatNobodyMayLookIntoIsNotStartedTwice) {
    // The program that the script becomes has a command line without the bundle's file.
    const ScopedVariable closed("SAMPLE_CLOSED", "1");
    copyExecutable(inRoot("/program"));
    makeFolders(inRoot("/Wrapper.app/Contents/MacOS"));
    writeFile(inRoot("/Wrapper.app/Contents/MacOS/Wrapper"), "#!/bin/sh\nexec " + inRoot("/program") + "\n",
              0755);
    EXPECT_TRUE(boundByFileModes([this] {
        const pid_t pid = openedProcess("/Wrapper.app");
        reportOf(pid);
        const bool isKnown = openedProcess("/Wrapper.app") == pid && bundleOf(pid) == "/Wrapper.app";
        end(pid);
        return isKnown;
    }));
    childSignals = 0;
}

TEST_F(LaunchServices, OneThatProcHidesIsNotStartedTwice) {
    const std::string processes = inRoot("/processes");
    const std::string self = std::to_string(getpid());
    makeFolders(processes + "/" + self);
    ASSERT_EQ(symlink(self.c_str(), (processes + "/self").c_str()), 0);
    LinuxPlatform::readProcessesFrom(processes);
    const pid_t pid = openedProcess(BUNDLE);
    EXPECT_EQ(openedProcess(BUNDLE), pid);
    EXPECT_THAT(runningBundles(), ElementsAre(BUNDLE));
    end(pid);
    EXPECT_THAT(runningBundles(), IsEmpty());
    LinuxPlatform::readProcessesFrom("/proc");
}

TEST_F(LaunchServices, ALauncherInsideTheBundleIsNotTheApplication) {
    const std::string launcher = inRoot(BUNDLE) + "/Contents/MacOS/launcher";
    copyExecutable(launcher, SAMPLE_LAUNCHER);
    EXPECT_EQ(statusOf(runDirectly({launcher, BUNDLE})), 0);
    EXPECT_THAT(runningBundles(), ElementsAre(BUNDLE));
    reportOf(runningProcesses().at(0));
    childSignals = 0;
}

TEST_F(LaunchServices, AnotherLauncherInsideTheBundleIsNotTheApplicationEither) {
    const std::string launcher = inRoot(BUNDLE) + "/Contents/MacOS/launcher";
    copyExecutable(launcher, SAMPLE_LAUNCHER);
    const pid_t other = runDirectly({launcher, BUNDLE, reports() + "/lifeline"});
    // For a moment, the intermediate processes are listed as launchers, too.
    const auto application = [this] {
        std::vector<LinuxPlatform::RunningApplication> applications;
        LinuxPlatform::listRunningApplications(applications);
        for (const LinuxPlatform::RunningApplication& running : applications)
            if (running.executable == executable())
                return running.pid;
        return 0;
    };
    ASSERT_TRUE(comesTrue([&] { return application() != 0; }));
    end(application());
    EXPECT_THAT(runningProcesses(), testing::Contains(other));
    EXPECT_EQ(statusOf(runDirectly({launcher, BUNDLE})), 0);
    EXPECT_NE(0, application());
    childSignals = 0;
}

// ---- names of a bundle

TEST_F(LaunchServices, ALinkedBundleIsKnownByItsLink) {
    const std::string elsewhere = root() + "-outside/Quillmarsh-2.1";
    makeFolders(root() + "-outside");
    ASSERT_EQ(rename(inRoot(BUNDLE).c_str(), elsewhere.c_str()), 0);
    ASSERT_EQ(symlink(elsewhere.c_str(), inRoot(BUNDLE).c_str()), 0);
    const pid_t pid = openedProcess(BUNDLE);
    EXPECT_EQ(reportOf(pid)["executable"], elsewhere + "/Contents/MacOS/Quillmarsh");
    EXPECT_EQ(bundleOf(pid), BUNDLE);
    EXPECT_EQ(openedProcess(BUNDLE), pid);
}

TEST_F(LaunchServices, OneBundleUnderTwoNamesIsStartedOnce) {
    ASSERT_EQ(symlink("Quillmarsh.app", inRoot("/Applications/Other.app").c_str()), 0);
    const pid_t pid = openedProcess(BUNDLE);
    EXPECT_EQ(openedProcess("/Applications/Other.app"), pid);
    EXPECT_EQ(openedProcess("/Applications//./Quillmarsh.app/"), pid);
    EXPECT_THAT(runningProcesses(), ElementsAre(pid));
}

TEST_F(LaunchServices, ABundleMovedOrReplacedWhileItRunsStillRuns) {
    const pid_t pid = openedProcess(BUNDLE);
    ASSERT_EQ(rename(inRoot(BUNDLE).c_str(), inRoot("/Applications/Old.app").c_str()), 0);
    EXPECT_EQ(bundleOf(pid), BUNDLE);
    addBundle(BUNDLE, "Quillmarsh");
    EXPECT_EQ(openedProcess(BUNDLE), pid);
    EXPECT_THAT(runningProcesses(), ElementsAre(pid));
}

TEST_F(LaunchServices, ABundleDeletedWhileItRunsStillRuns) {
    const pid_t pid = openedProcess(BUNDLE);
    ASSERT_EQ(unlink(executable().c_str()), 0);
    EXPECT_EQ(bundleOf(pid), BUNDLE);
}

// ---- scripts

TEST_F(LaunchServices, AScriptIsKnownByItsBundle) {
    addScriptBundle("/Script.app", "Script", "#!/bin/sh");
    const pid_t pid = openedProcess("/Script.app");
    EXPECT_EQ(bundleOf(pid), "/Script.app");
    EXPECT_EQ(openedProcess("/Script.app"), pid);
}

TEST_F(LaunchServices, WhatAScriptRunsIsNotTheApplicationAgain) {
    addScriptBundle("/Script.app", "Script", "#!/bin/sh");
    const pid_t pid = openedProcess("/Script.app");
    reportOf(pid);
    // The script runs cat, which inherits the environment.
    const std::string children =
        "/proc/" + std::to_string(pid) + "/task/" + std::to_string(pid) + "/children";
    ASSERT_TRUE(comesTrue([&] {
        std::string child;
        std::ifstream(children) >> child;
        return !child.empty();
    }));
    EXPECT_THAT(runningProcesses(), ElementsAre(pid));
}

TEST_F(LaunchServices, AWrapperThatBecomesAnotherProgramIsKnownByItsBundle) {
    copyExecutable(inRoot("/program"));
    makeFolders(inRoot("/Wrapper.app/Contents/MacOS"));
    writeFile(inRoot("/Wrapper.app/Contents/MacOS/Wrapper"), "#!/bin/sh\nexec " + inRoot("/program") + "\n",
              0755);
    const pid_t pid = openedProcess("/Wrapper.app");
    EXPECT_EQ(reportOf(pid)["executable"], inRoot("/program"));
    EXPECT_EQ(bundleOf(pid), "/Wrapper.app");
    EXPECT_EQ(openedProcess("/Wrapper.app"), pid);
}

// ---- what the application gets

TEST_F(LaunchServices, TheApplicationHasASessionOfItsOwn) {
    const pid_t pid = openedProcess(BUNDLE);
    Report report = reportOf(pid);
    EXPECT_EQ(report["session"], std::to_string(pid));
    EXPECT_EQ(report["group"], std::to_string(pid));
}

TEST_F(LaunchServices, TheApplicationIsNobodysChildHere) {
    EXPECT_NE(std::to_string(getpid()), reportOf(openedProcess(BUNDLE))["parent"]);
    EXPECT_FALSE(hasChildren());
}

TEST_F(LaunchServices, TheApplicationOutlivesItsLauncher) {
    ASSERT_EQ(launchByShell("", ""), 0);
    EXPECT_THAT(runningBundles(), ElementsAre(BUNDLE));
}

TEST_F(LaunchServices, TheApplicationStandsInTheRootFolder) {
    EXPECT_EQ(reportOf(openedProcess(BUNDLE))["folder"], "/");
}

TEST_F(LaunchServices, TheApplicationGetsNoArguments) {
    EXPECT_EQ(reportOf(openedProcess(BUNDLE))["arguments"], "1");
}

TEST_F(LaunchServices, TheApplicationGetsTheFileModeMaskOfTheSession) {
    ASSERT_EQ(launchByShell("umask 027;", ""), 0);
    const std::vector<pid_t> running = runningProcesses();
    ASSERT_EQ(running.size(), 1u);
    EXPECT_EQ(reportOf(running[0])["mask"], std::to_string(027)) << "the launcher has set its own to 0";
}

TEST_F(LaunchServices, SignalsAreAtTheirDefaultsAndNotBlocked) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    const std::vector<int> ignored = {SIGPIPE, SIGHUP, SIGTERM, SIGRTMIN, SIGRTMAX};
    for (const int signal : ignored)
        ::signal(signal, SIG_IGN);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t pid = openedProcess(BUNDLE);
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, &before, &after);
    for (const int signal : ignored)
        ::signal(signal, SIG_DFL);
    Report report = reportOf(pid);
    EXPECT_EQ(report["ignored"], "");
    EXPECT_EQ(report["blocked"], "");
    EXPECT_EQ(sigismember(&after, SIGHUP), 1) << "the caller's mask is as it was";
}

TEST_F(LaunchServices, TheCallersMaskIsLeftAsItWas) {
    sigset_t before;
    sigset_t one;
    sigset_t after;
    sigemptyset(&one);
    sigaddset(&one, SIGUSR2);
    pthread_sigmask(SIG_SETMASK, &one, &before);
    openedProcess(BUNDLE);
    pthread_sigmask(SIG_SETMASK, &before, &after);
    for (int signal = 1; signal <= SIGRTMAX; ++signal)
        EXPECT_EQ(sigismember(&after, signal) == 1, signal == SIGUSR2) << signal;
}

TEST_F(LaunchServices, TheEnvironmentIsInherited) {
    const ScopedVariable variable("SAMPLE_VARIABLE", "a=b c");
    EXPECT_EQ(reportOf(openedProcess(BUNDLE))["variable SAMPLE_VARIABLE"], "a=b c");
}

TEST_F(LaunchServices, TheEnvironmentTellsTheBundleToTheProcessList) {
    const ScopedVariable stale("PLATFORM_LAUNCHED", "1:/Stale.app");
    const pid_t pid = openedProcess(BUNDLE);
    const std::string note = reportOf(pid)["variable PLATFORM_LAUNCHED"];
    EXPECT_EQ(std::stol(note), pid);
    EXPECT_EQ(note.substr(note.find(':') + 1), inRoot(BUNDLE));
}

TEST_F(LaunchServices, OnlyAHiddenLaunchAsksToBeHidden) {
    addBundle(NESTED_BUNDLE, "Murmel");
    EXPECT_EQ(reportOf(openedProcess(NESTED_BUNDLE, kLSLaunchAndHide))["variable PLATFORM_LAUNCH_HIDDEN"],
              "1");
    const ScopedVariable inherited("PLATFORM_LAUNCH_HIDDEN", "1");
    EXPECT_EQ(reportOf(openedProcess(BUNDLE)).count("variable PLATFORM_LAUNCH_HIDDEN"), 0u);
}

// ---- no descriptor is inherited

struct DescriptorKind {
    const char* name;
    std::function<int()> open;
};

class InheritedDescriptor : public LaunchServices, public ::testing::WithParamInterface<DescriptorKind> {};

TEST_P(InheritedDescriptor, ReachesNoApplication) {
    std::vector<int> files = {GetParam().open(), GetParam().open()};
    ASSERT_LE(3, files[0]);
    fcntl(files[0], F_SETFD, 0);
    fcntl(files[1], F_SETFD, FD_CLOEXEC);
    files.push_back(fcntl(files[0], F_DUPFD, 700));
    Report report = reportOf(openedProcess(BUNDLE));
    for (const int file : files)
        close(file);
    EXPECT_THAT(strangeFiles(report), IsEmpty());
    EXPECT_EQ(report["file 0"], "/dev/null");
    EXPECT_EQ(report["file 1"], "/dev/null");
    EXPECT_EQ(report["file 2"], "/dev/null");
}

static int firstOfPair(int (*make)(int*)) {
    int pair[2] = {-1, -1};
    make(pair);
    close(pair[1]);
    return pair[0];
}

INSTANTIATE_TEST_SUITE_P(
    OfEveryKind, InheritedDescriptor,
    ::testing::Values(DescriptorKind{"File", [] { return open("/etc/passwd", O_RDONLY | O_CLOEXEC); }},
                      DescriptorKind{"Folder", [] { return open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }},
                      DescriptorKind{"PathOnly", [] { return open("/", O_PATH | O_CLOEXEC); }},
                      DescriptorKind{"Device", [] { return open("/dev/zero", O_RDWR | O_CLOEXEC); }},
                      DescriptorKind{"Pipe",
                                     [] { return firstOfPair([](int* pair) { return pipe(pair); }); }},
                      DescriptorKind{"InternetSocket", [] { return socket(AF_INET, SOCK_DGRAM, 0); }},
                      DescriptorKind{"SocketPair",
                                     [] {
                                         return firstOfPair([](int* pair) {
                                             return socketpair(AF_UNIX, SOCK_STREAM, 0, pair);
                                         });
                                     }},
                      DescriptorKind{"DeviceEventSocket", [] { return socket(AF_NETLINK, SOCK_RAW, 15); }},
                      DescriptorKind{"Epoll", [] { return epoll_create1(0); }},
                      DescriptorKind{"Event", [] { return eventfd(0, 0); }},
                      DescriptorKind{"Timer", [] { return timerfd_create(CLOCK_MONOTONIC, 0); }},
                      DescriptorKind{"FolderWatch", [] { return inotify_init1(0); }},
                      DescriptorKind{"Memory", [] { return memfd_create("memory", 0); }}),
    [](const ::testing::TestParamInfo<DescriptorKind>& kind) { return std::string(kind.param.name); });

TEST_F(LaunchServices, ALauncherWithoutStandardFilesGivesTheApplicationItsOwn) {
    for (const char* closed : {"<&-", ">&-", "2>&-", "<&- >&-", "<&- >&- 2>&-"}) {
        ASSERT_EQ(launchByShell("", closed), 0) << closed;
        const std::vector<pid_t> running = runningProcesses();
        ASSERT_EQ(running.size(), 1u) << closed;
        Report report = reportOf(running[0]);
        EXPECT_THAT(strangeFiles(report), IsEmpty()) << closed;
        EXPECT_EQ(report["file 0"], "/dev/null") << closed;
        EXPECT_EQ(report["file 2"], "/dev/null") << closed;
        end(running[0]);
    }
}

// ---- no signal reaches the launcher

TEST_F(LaunchServices, NeitherStartNorEndOfAnApplicationSendsASignal) {
    const pid_t pid = openedProcess(BUNDLE);
    EXPECT_FALSE(hasChildren());
    end(pid);
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(childSignals, 0);
}

TEST_F(LaunchServices, AFailedStartSendsNoSignalAndLeavesNoChild) {
    writeFile(executable(), "\x7F", 0755);
    EXPECT_EQ(open(BUNDLE), kLSExecutableIncorrectFormat);
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(childSignals, 0);
}

TEST_F(LaunchServices, AFailedStartLeavesNothingForOthersToAdopt) {
    writeFile(executable(), "\x7F", 0755);
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    const int status = system(SAMPLE_LAUNCHER " /Applications/Quillmarsh.app");
    prctl(PR_SET_CHILD_SUBREAPER, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 4);
    EXPECT_FALSE(hasChildren());
    childSignals = 0;
}

TEST_F(LaunchServices, ALauncherThatAdoptsOrphansIsSparedToo) {
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    const pid_t pid = openedProcess(BUNDLE);
    EXPECT_NE(std::to_string(getpid()), reportOf(pid)["parent"]);
    end(pid);
    writeFile(inRoot("/no-program"), "\x7F", 0755);
    ASSERT_EQ(rename(inRoot("/no-program").c_str(), executable().c_str()), 0);
    EXPECT_EQ(open(BUNDLE), kLSExecutableIncorrectFormat);
    int adopts = 0;
    prctl(PR_GET_CHILD_SUBREAPER, &adopts);
    EXPECT_EQ(adopts, 1) << "it goes on adopting others";
    prctl(PR_SET_CHILD_SUBREAPER, 0);
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(childSignals, 0);
}

TEST_F(LaunchServices, ALauncherThatIgnoresChildSignalsStartsAllTheSame) {
    signal(SIGCHLD, SIG_IGN);
    EXPECT_NE(0, openedProcess(BUNDLE));
}

TEST_F(LaunchServices, AnyThreadMayOpenWhileOthersWork) {
    // Created before any process is cloned: a clone must not hold an executable open for writing.
    for (int i = 0; i < 6; ++i)
        addBundle("/Bundle" + std::to_string(i) + ".app", "Bundle" + std::to_string(i));
    std::atomic<bool> isDone(false);
    std::vector<std::thread> workers;
    for (int i = 0; i < 4; ++i) {
        workers.emplace_back([&] {
            while (!isDone)
                std::string(1000, 'x').shrink_to_fit();
        });
    }
    std::vector<std::thread> openers;
    std::atomic<int> failures(0);
    for (int i = 0; i < 6; ++i) {
        const std::string bundle = "/Bundle" + std::to_string(i) + ".app";
        openers.emplace_back([bundle, &failures] { failures += open(bundle) != noErr; });
    }
    for (std::thread& opener : openers)
        opener.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(runningProcesses().size(), 6u);
    for (const pid_t pid : runningProcesses())
        end(pid);
    isDone = true;
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(childSignals, 0);
}

// The product's crash handler writes files and ends its process: it must not run in a clone.
static pid_t handlersProcess;
static std::atomic<int>* strayHandlers;

TEST_F(LaunchServices, SignalsToTheGroupNeitherReachTheCopiesNorTheApplication) {
    void* page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, page);
    strayHandlers = new (page) std::atomic<int>(0);
    const bool allStarted = inAnotherProcess([this] {
        setpgid(0, 0);
        handlersProcess = getpid();
        signal(SIGUSR1, [](int) { *strayHandlers += getpid() != handlersProcess; });
        const pid_t sender = fork();
        if (sender == 0) {
            signal(SIGUSR1, SIG_IGN);
            while (kill(-handlersProcess, SIGUSR1) == 0)
                usleep(20); // leaves the other processes some processor time
            _exit(0);
        }
        bool isEachRunning = true;
        for (int i = 0; i < 20; ++i) {
            const pid_t pid = openedProcess(BUNDLE);
            isEachRunning = isEachRunning && pid != 0 && bundleOf(pid) == BUNDLE;
            end(pid);
        }
        kill(sender, SIGKILL);
        waitpid(sender, nullptr, 0);
        return isEachRunning;
    });
    EXPECT_TRUE(allStarted);
    EXPECT_EQ(*strayHandlers, 0);
    munmap(page, 4096);
    childSignals = 0;
}

TEST_F(LaunchServices, KeepsADescriptorOfAnApplicationWhileItRunsAndNoOther) {
    const auto countFiles = [] {
        int count = 0;
        for (int file = 0; file < 1024; ++file)
            count += fcntl(file, F_GETFD) != -1;
        return count;
    };
    const pid_t pid = openedProcess(BUNDLE);
    const int whileItRuns = countFiles();
    open(BUNDLE);
    open("/Missing.app");
    runningBundles();
    EXPECT_EQ(countFiles(), whileItRuns);
    end(pid);
    EXPECT_NE(pid, openedProcess(BUNDLE));
    EXPECT_EQ(countFiles(), whileItRuns);
}

// ---- results

TEST_F(LaunchServices, AMissingBundleIsNotFound) {
    EXPECT_EQ(open("/Applications/Missing.app"), fnfErr);
}

TEST_F(LaunchServices, ABundleThatWentSinceTheReferenceWasMadeIsNotFound) {
    FSRef reference;
    ASSERT_EQ(makeReference(BUNDLE, reference), noErr);
    ASSERT_EQ(rename(inRoot(BUNDLE).c_str(), inRoot("/Gone.app").c_str()), 0);
    LSApplicationParameters parameters = {};
    parameters.application = &reference;
    EXPECT_EQ(LSOpenApplication(&parameters, nullptr), fnfErr);
}

TEST_F(LaunchServices, WhatIsNoBundleIsNoApplication) {
    makeFolders(inRoot("/Applications/Plain"));
    EXPECT_EQ(open(inRoot("/Applications/Plain")), kLSNotAnApplicationErr);
    writeFile(inRoot("/Applications/File.app"), "");
    EXPECT_EQ(open("/Applications/File.app"), kLSNotAnApplicationErr);
    EXPECT_EQ(open(executable()), kLSNotAnApplicationErr);
    EXPECT_EQ(open("/"), kLSNotAnApplicationErr);
}

TEST_F(LaunchServices, ABundleWithoutAnExecutableHasNone) {
    makeFolders(inRoot("/Empty.app"));
    EXPECT_EQ(open("/Empty.app"), kLSNoExecutableErr);
    makeFolders(inRoot("/Folder.app/Contents/MacOS/Folder"));
    EXPECT_EQ(open("/Folder.app"), kLSNoExecutableErr);
    makeFolders(inRoot("/Pipe.app/Contents/MacOS"));
    ASSERT_EQ(mkfifo(inRoot("/Pipe.app/Contents/MacOS/Pipe").c_str(), 0755), 0);
    EXPECT_EQ(open("/Pipe.app"), kLSNoExecutableErr);
    makeFolders(inRoot("/Link.app/Contents/MacOS"));
    ASSERT_EQ(symlink("nowhere", inRoot("/Link.app/Contents/MacOS/Link").c_str()), 0);
    EXPECT_EQ(open("/Link.app"), kLSNoExecutableErr);
}

TEST_F(LaunchServices, AnExecutableWithoutPermissionMayNotBeLaunched) {
    ASSERT_EQ(chmod(executable().c_str(), 0644), 0);
    EXPECT_EQ(open(BUNDLE), kLSNoLaunchPermissionErr);
}

TEST_F(LaunchServices, WhatTheSystemCannotRunHasTheWrongFormat) {
    writeFile(executable(), "neither a program nor a script", 0755);
    EXPECT_EQ(open(BUNDLE), kLSExecutableIncorrectFormat);
    writeFile(executable(), "#!/missing/interpreter\n", 0755);
    EXPECT_EQ(open(BUNDLE), kLSExecutableIncorrectFormat);
    writeFile(executable(), "", 0755);
    EXPECT_EQ(open(BUNDLE), kLSExecutableIncorrectFormat);
}

/// The headers of a program for this machine, whose loader's path is `length` bytes at `offset` of the file.
static std::string programWithLoader(std::size_t offset, std::size_t length) {
    struct {
        ElfW(Ehdr) file;
        ElfW(Phdr) loader;
    } head = {};
    std::ifstream("/proc/self/exe", std::ios::binary)
        .read(reinterpret_cast<char*>(&head.file), sizeof head.file);
    head.file.e_phoff = sizeof head.file;
    head.file.e_phnum = 1;
    head.loader.p_type = PT_INTERP;
    head.loader.p_offset = static_cast<ElfW(Off)>(offset);
    head.loader.p_filesz = static_cast<ElfW(Word)>(length);
    return std::string(reinterpret_cast<const char*>(&head), sizeof head);
}

TEST_F(LaunchServices, AProgramWhoseLoaderIsNoneHasTheWrongFormat) {
    const std::string loader = inRoot("/loader");
    writeFile(loader, std::string(4096, 'x'), 0755);
    const std::size_t headSize = programWithLoader(0, 0).size();
    writeFile(executable(), programWithLoader(headSize, loader.size() + 1) + loader + '\0', 0755);
    EXPECT_EQ(open(BUNDLE), kLSExecutableIncorrectFormat);
}

TEST_F(LaunchServices, AProgramThatIsCutOffIsAnErrorOfTheFile) {
    writeFile(executable(), programWithLoader(1024 * 1024, 10), 0755);
    EXPECT_EQ(open(BUNDLE), ioErr);
}

TEST_F(LaunchServices, AClosedFolderOfTheExecutableIsAMatterOfPermission) {
    const std::string folder = inRoot(BUNDLE) + "/Contents/MacOS";
    ASSERT_EQ(chmod(folder.c_str(), 0), 0);
    EXPECT_TRUE(boundByFileModes([] { return open(BUNDLE) == kLSNoLaunchPermissionErr; }));
    ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
    childSignals = 0;
}

TEST_F(LaunchServices, AnExecutableThatIsBeingWrittenIsRefused) {
    const int file = ::open(executable().c_str(), O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(open(BUNDLE), opWrErr);
    close(file);
    EXPECT_EQ(open(BUNDLE), noErr);
}

TEST_F(LaunchServices, AnEnvironmentTooLargeIsAnUnknownError) {
    const ScopedVariable variable("SAMPLE_VARIABLE", std::string(1024 * 1024, 'x').c_str());
    EXPECT_EQ(open(BUNDLE), kLSUnknownErr);
}

TEST_F(LaunchServices, WithoutADescriptorTheListCannotBeReadAndNothingIsStarted) {
    EXPECT_TRUE(inAnotherProcess([] {
        while (dup(0) >= 0) {
        }
        return open(BUNDLE) == tmfoErr;
    }));
    childSignals = 0;
    EXPECT_THAT(runningBundles(), IsEmpty());
}

TEST_F(LaunchServices, WhereNoProcessIsListedNothingIsStarted) {
    makeFolders(inRoot("/processes"));
    LinuxPlatform::readProcessesFrom(inRoot("/processes"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(open(BUNDLE), procNotFound);
    EXPECT_EQ(open(BUNDLE), procNotFound);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::MatchesRegex("CoreServices: [^\n]* no application will be started\n"));
    LinuxPlatform::readProcessesFrom("/proc");
    EXPECT_THAT(runningBundles(), IsEmpty());
}

TEST_F(LaunchServices, WithoutADescriptorToLookAtARunningOneItIsNotStartedAgain) {
    addBundle("/Other.app", "Other");
    const pid_t pid = openedProcess(BUNDLE);
    for (const int left : {0, 1}) {
        EXPECT_TRUE(inAnotherProcess([&] {
            leaveDescriptors(left);
            return openedProcess(BUNDLE) == pid;
        })) << left;
        EXPECT_TRUE(inAnotherProcess([&] {
            LinuxPlatform::StartedApplications::get().useDescriptors(false);
            const pid_t other = openedProcess("/Other.app");
            leaveDescriptors(left);
            // One descriptor is enough to find that an application that was listed a moment ago still runs.
            const OSStatus status = open("/Other.app");
            const bool isNotStarted = status == tmfoErr || (left == 1 && status == noErr);
            kill(other, SIGKILL);
            return isNotStarted;
        })) << left;
    }
    EXPECT_TRUE(comesTrue([pid] { return runningProcesses() == std::vector<pid_t>{pid}; }));
}

TEST_F(LaunchServices, OneThatRunsIsFoundWithoutTheListUntilItEnds) {
    const pid_t pid = openedProcess(BUNDLE);
    makeFolders(inRoot("/processes"));
    LinuxPlatform::readProcessesFrom(inRoot("/processes"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(openedProcess(BUNDLE), pid);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    endWithoutALook(pid);
    EXPECT_TRUE(comesTrue([] { return open(BUNDLE) == procNotFound; }));
    LinuxPlatform::readProcessesFrom("/proc");
    const pid_t next = openedProcess(BUNDLE);
    EXPECT_NE(0, next);
    EXPECT_NE(pid, next);
}

TEST_F(LaunchServices, AWalkBeginsWithWhatWasStartedHereAndNeedsNoListForThat) {
    addBundle("/Other.app", "Other");
    const pid_t other = runDirectly({inRoot("/Other.app/Contents/MacOS/Other")});
    reportOf(other);
    const pid_t started = openedProcess(BUNDLE);
    EXPECT_THAT(runningProcesses(), ElementsAre(started, other));
    makeFolders(inRoot("/processes"));
    LinuxPlatform::readProcessesFrom(inRoot("/processes"));
    testing::internal::CaptureStderr();
    ProcessSerialNumber number = {0, kNoProcess};
    EXPECT_EQ(GetNextProcess(&number), noErr);
    EXPECT_EQ(static_cast<pid_t>(number.lowLongOfPSN), started);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    EXPECT_EQ(GetNextProcess(&number), procNotFound);
    EXPECT_NE(testing::internal::GetCapturedStderr(), "") << "the rest of the walk takes the list";
    LinuxPlatform::readProcessesFrom("/proc");
}

TEST_F(LaunchServices, WhereAProcessHasNoDescriptorItsStartTimeTellsThatItRuns) {
    LinuxPlatform::StartedApplications::get().useDescriptors(false);
    const pid_t pid = openedProcess(BUNDLE);
    EXPECT_EQ(openedProcess(BUNDLE), pid);
    EXPECT_THAT(runningProcesses(), ElementsAre(pid));
    end(pid);
    const pid_t next = openedProcess(BUNDLE);
    EXPECT_NE(pid, next);
    EXPECT_THAT(runningProcesses(), ElementsAre(next));
    LinuxPlatform::StartedApplications::get().useDescriptors(true);
}

TEST_F(LaunchServices, AProcessIdBelongsToTheLatestApplicationThatBoreIt) {
    LinuxPlatform::StartedApplications& applications = LinuxPlatform::StartedApplications::get();
    LinuxPlatform::RunningApplication application;
    application.pid = openedProcess(BUNDLE);
    bool isOne = false;
    ASSERT_EQ(applications.find(application.pid, application, isOne), 0);
    ASSERT_TRUE(isOne);
    application.bundle = "/Later.app";
    applications.add(application);
    ASSERT_EQ(applications.find(application.pid, application, isOne), 0);
    EXPECT_EQ(application.bundle, "/Later.app");
}

TEST_F(LaunchServices, MissingArgumentsAndUnknownRecordsAreRefused) {
    FSRef reference;
    ASSERT_EQ(makeReference(BUNDLE, reference), noErr);
    EXPECT_EQ(LSOpenApplication(nullptr, nullptr), paramErr);
    const void* something = &reference;
    const auto resultWith = [&](const std::function<void(LSApplicationParameters&)>& change) {
        LSApplicationParameters parameters = {};
        parameters.application = &reference;
        change(parameters);
        return LSOpenApplication(&parameters, nullptr);
    };
    EXPECT_EQ(resultWith([](LSApplicationParameters& p) { p.application = nullptr; }), paramErr);
    EXPECT_EQ(resultWith([](LSApplicationParameters& p) { p.version = 1; }), paramErr);
    EXPECT_EQ(resultWith([&](LSApplicationParameters& p) {
                  p.environment = static_cast<CFDictionaryRef>(something);
              }),
              paramErr);
    EXPECT_EQ(resultWith([&](LSApplicationParameters& p) { p.argv = static_cast<CFArrayRef>(something); }),
              paramErr);
    EXPECT_EQ(resultWith([&](LSApplicationParameters& p) {
                  p.initialEvent = reinterpret_cast<AppleEvent*>(&reference);
              }),
              paramErr);
    FSRef unfilled;
    std::memset(&unfilled, 0, sizeof unfilled);
    EXPECT_EQ(resultWith([&](LSApplicationParameters& p) { p.application = &unfilled; }), errFSBadFSRef);
    EXPECT_THAT(runningBundles(), IsEmpty());
}

TEST_F(LaunchServices, AFailureLeavesTheSerialNumberAlone) {
    makeFolders(inRoot("/Empty.app"));
    FSRef reference;
    ASSERT_EQ(makeReference("/Empty.app", reference), noErr);
    LSApplicationParameters parameters = {};
    parameters.application = &reference;
    ProcessSerialNumber number = {7, 8};
    EXPECT_EQ(LSOpenApplication(&parameters, &number), kLSNoExecutableErr);
    EXPECT_EQ(number.highLongOfPSN, 7u);
    EXPECT_EQ(number.lowLongOfPSN, 8u);
}
