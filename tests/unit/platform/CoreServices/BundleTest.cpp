#include "BundleTest.h"

#include <algorithm>
#include <climits>
#include <csignal>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

static std::string realPath(const std::string& path) {
    char real[PATH_MAX];
    return realpath(path.c_str(), real) != nullptr ? real : "";
}

BundleTest::BundleTest()
    : m_root(realPath(m_folder.path()) + "/root"), m_reports(realPath(m_folder.path()) + "/reports"),
      m_rootVariable("PLATFORM_ROOT", m_root.c_str()),
      m_reportsVariable("SAMPLE_REPORTS", m_reports.c_str()) {
    makeFolders(m_root);
    makeFolders(m_reports);
    const std::string lifeline = m_reports + "/lifeline";
    EXPECT_EQ(mkfifo(lifeline.c_str(), 0600), 0);
    m_lifeline = ::open(lifeline.c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_LE(0, m_lifeline);
}

BundleTest::~BundleTest() {
    // In this order: an application that starts late finds no lifeline, and none waits for a lifeline that is
    // closed.
    unlink((m_reports + "/lifeline").c_str());
    close(m_lifeline);
    for (const pid_t child : m_children) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    setenv("PLATFORM_ROOT", m_root.c_str(), 1); // the test may have set another root
    for (const pid_t pid : runningProcesses())
        kill(pid, SIGKILL);
    EXPECT_TRUE(comesTrue([] { return runningProcesses().empty(); }));
}

void BundleTest::makeFolders(const std::string& path) {
    for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        mkdir(path.substr(0, end).c_str(), 0755);
        if (end == std::string::npos)
            break;
    }
}

void BundleTest::writeFile(const std::string& path, const std::string& content, mode_t mode) {
    std::ofstream(path, std::ios::binary) << content;
    ASSERT_EQ(chmod(path.c_str(), mode), 0) << path;
}

void BundleTest::copyExecutable(const std::string& to, const std::string& from) {
    std::ifstream original(from, std::ios::binary);
    std::ofstream(to, std::ios::binary) << original.rdbuf();
    ASSERT_EQ(chmod(to.c_str(), 0755), 0) << to;
}

std::string BundleTest::infoPlist(const std::string& executable) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict><key>CFBundleName</key>"
           "<string>Sample</string><key>CFBundleExecutable</key><string>" +
           executable + "</string></dict></plist>\n";
}

void BundleTest::addBundle(const std::string& path, const std::string& executable,
                           const std::string& infoPlist) {
    makeFolders(inRoot(path) + "/Contents/MacOS");
    copyExecutable(inRoot(path) + "/Contents/MacOS/" + executable);
    if (!infoPlist.empty())
        writeFile(inRoot(path) + "/Contents/Info.plist", infoPlist);
}

void BundleTest::addScriptBundle(const std::string& path, const std::string& executable,
                                 const std::string& firstLine) {
    makeFolders(inRoot(path) + "/Contents/MacOS");
    // The last line keeps the shell from replacing itself with its last command.
    const std::string script = firstLine + "\necho parent=$PPID > $SAMPLE_REPORTS/$$.part\n"
                                           "mv $SAMPLE_REPORTS/$$.part $SAMPLE_REPORTS/$$\n"
                                           "cat $SAMPLE_REPORTS/lifeline\n"
                                           "exit 0\n";
    writeFile(inRoot(path) + "/Contents/MacOS/" + executable, script, 0755);
}

static OSStatus openReference(const std::string& bundle, LSLaunchFlags flags, ProcessSerialNumber* number) {
    FSRef reference;
    const OSStatus status = makeReference(bundle, reference);
    if (status != noErr)
        return status;
    LSApplicationParameters parameters = {};
    parameters.flags = flags;
    parameters.application = &reference;
    return LSOpenApplication(&parameters, number);
}

OSStatus BundleTest::open(const std::string& bundle, LSLaunchFlags flags) {
    return openReference(bundle, flags, nullptr);
}

pid_t BundleTest::openedProcess(const std::string& bundle, LSLaunchFlags flags) {
    ProcessSerialNumber number = {0, kNoProcess};
    const OSStatus status = openReference(bundle, flags, &number);
    EXPECT_EQ(status, noErr);
    return static_cast<pid_t>(number.lowLongOfPSN);
}

pid_t BundleTest::runDirectly(const std::vector<std::string>& command, const std::string& file) {
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const char* const program = file.empty() ? arguments[0] : file.c_str();
    EXPECT_EQ(posix_spawnp(&pid, program, &actions, nullptr, arguments.data(), environ), 0) << command[0];
    posix_spawn_file_actions_destroy(&actions);
    m_children.push_back(pid);
    return pid;
}

int BundleTest::statusOf(pid_t pid) {
    m_children.erase(std::remove(m_children.begin(), m_children.end(), pid), m_children.end());
    int status = 0;
    return waitpid(pid, &status, 0) == pid && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void BundleTest::end(pid_t pid) {
    endWithoutALook(pid);
    EXPECT_TRUE(comesTrue([pid] { return bundleOf(pid).empty(); }));
}

void BundleTest::endWithoutALook(pid_t pid) {
    kill(pid, SIGKILL);
    for (auto child = m_children.begin(); child != m_children.end(); ++child) {
        if (*child == pid) {
            waitpid(pid, nullptr, 0);
            m_children.erase(child);
            break;
        }
    }
}

void BundleTest::leaveDescriptors(int count) {
    const int next = dup(0);
    close(next);
    struct rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = static_cast<rlim_t>(next + count);
    setrlimit(RLIMIT_NOFILE, &limit);
}

BundleTest::Report BundleTest::reportOf(pid_t pid) {
    const std::string path = m_reports + "/" + std::to_string(pid);
    EXPECT_TRUE(comesTrue([&] { return access(path.c_str(), F_OK) == 0; })) << path;
    Report report;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        report[line.substr(0, line.find('='))] = line.substr(line.find('=') + 1);
    return report;
}

static std::string textOf(CFDictionaryRef dictionary, const char* key) {
    const CFStringRef keyText = CFStringCreateWithCString(kCFAllocatorDefault, key, kCFStringEncodingUTF8);
    const auto value = static_cast<CFStringRef>(CFDictionaryGetValue(dictionary, keyText));
    CFRelease(keyText);
    char text[4096] = "";
    if (value != nullptr)
        CFStringGetCString(value, text, sizeof text, kCFStringEncodingUTF8);
    return text;
}

static std::vector<std::pair<pid_t, std::string>> walk() {
    std::vector<std::pair<pid_t, std::string>> applications;
    ProcessSerialNumber number = {0, kNoProcess};
    while (GetNextProcess(&number) == noErr) {
        const CFDictionaryRef information =
            ProcessInformationCopyDictionary(&number, kProcessDictionaryIncludeAllInformationMask);
        if (information == nullptr)
            continue;
        applications.emplace_back(static_cast<pid_t>(number.lowLongOfPSN), textOf(information, "BundlePath"));
        CFRelease(information);
    }
    return applications;
}

std::vector<pid_t> BundleTest::runningProcesses() {
    std::vector<pid_t> processes;
    for (const auto& application : walk())
        processes.push_back(application.first);
    return processes;
}

std::vector<std::string> BundleTest::runningBundles() {
    std::vector<std::string> bundles;
    for (const auto& application : walk())
        bundles.push_back(application.second);
    return bundles;
}

std::string BundleTest::bundleOf(pid_t pid) {
    for (const auto& application : walk())
        if (application.first == pid)
            return application.second;
    return "";
}
