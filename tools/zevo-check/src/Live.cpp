#include "Live.h"

#include "ApplicationCheck.h"

#include "Bundles.h"
#include "HardwareId.h"
#include "LauncherApplication.h"
#include "RunningApplications.h"
#include "StringManagement.h"
#include "detail/CFOwned.h"
#include "detail/IOObjectHandle.h"
#include "detail/RegistryReading.h"

#include <IOKit/IOKitLib.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <climits>
#include <dirent.h>
#include <fstream>
#include <memory>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

using namespace kf::detail;

namespace Zevo {
namespace {

// ---- devices

bool hasNumber(io_registry_entry_t entry, CFStringRef key, int& value) {
    SInt32 number = 0;
    const CFOwned<CFTypeRef> property(IORegistryEntryCreateCFProperty(entry, key, kCFAllocatorDefault, 0));
    if (!readNumber(property.get(), number))
        return false;
    value = number;
    return true;
}

std::string decimalPairOf(const std::string& hardwareId) {
    try {
        return HardwareId::toDecimalPair(hardwareId);
    } catch (const std::out_of_range&) {
        return {}; // the launcher ends because of it, which is reported elsewhere
    }
}

// A notification port that receives nothing has no Mach port; the launcher checks the same.
bool canHearOfHotPlug() {
    const IONotificationPortRef port = IONotificationPortCreate(kIOMasterPortDefault);
    if (port == nullptr)
        return false;
    const bool hears = IONotificationPortGetMachPort(port) != MACH_PORT_NULL;
    IONotificationPortDestroy(port);
    return hears;
}

// ---- applications

std::vector<LiveApplication> applicationsNow(bool& isListReadable) {
    std::vector<LinuxPlatform::RunningApplication> running;
    isListReadable = LinuxPlatform::listRunningApplications(running) == 0;
    std::vector<LiveApplication> applications;
    for (const LauncherApplication& known : LAUNCHER_APPLICATIONS) {
        LiveApplication application;
        application.path = known.path;
        Findings obstacles;
        checkApplication(known.path, obstacles);
        application.canBeStarted = obstacles.empty();
        for (const LinuxPlatform::RunningApplication& process : running)
            if (LinuxPlatform::outOfRoot(process.bundle) == application.path)
                application.processes.push_back(process.pid);
        applications.push_back(application);
    }
    return applications;
}

// ---- files

LiveRing ringNow(const RingResult& configured) {
    LiveRing ring;
    if (!configured.isOn || configured.baseName.empty())
        return ring;
    ring.baseName = configured.baseName;
    const std::size_t separator = ring.baseName.rfind('/');
    const std::string folder = separator == std::string::npos ? "./" : ring.baseName.substr(0, separator + 1);
    const std::string beginning =
        ring.baseName.substr(separator == std::string::npos ? 0 : separator + 1) + "_";
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.c_str()), &closedir);
    while (const dirent* const entry = listing ? readdir(listing.get()) : nullptr) {
        const std::string name = entry->d_name;
        const bool isOfRing = name.compare(0, beginning.size(), beginning) == 0 &&
                              name.size() > beginning.size() + 4 &&
                              name.compare(name.size() - 4, 4, ".txt") == 0 &&
                              name.find_first_not_of("0123456789", beginning.size()) == name.size() - 4;
        struct stat file;
        if (!isOfRing || stat((folder + name).c_str(), &file) != 0)
            continue;
        ++ring.files;
        ring.paths.push_back(folder + name);
        ring.bytes += static_cast<std::uint64_t>(file.st_size);
        ring.lastWritten = std::max(ring.lastWritten, file.st_mtime);
    }
    return ring;
}

// ---- launchers

std::string textOf(const std::string& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// The boot time, as the kernel reports it.
std::time_t startOfMachine() {
    std::istringstream lines(textOf("/proc/stat"));
    for (std::string word; lines >> word;) {
        long long seconds = 0;
        if (word == "btime" && lines >> seconds)
            return static_cast<std::time_t>(seconds);
    }
    return 0;
}

std::time_t startOfProcess(pid_t process) {
    const std::string status = textOf(fmt::format("/proc/{}/stat", process));
    const std::size_t end = status.rfind(')'); // the name before it may contain anything
    if (end == std::string::npos)
        return 0;
    static constexpr int FIELDS_BETWEEN = 19; // from the state to the field before the start time
    std::istringstream fields(status.substr(end + 1));
    std::string skipped;
    for (int i = 0; i < FIELDS_BETWEEN; ++i)
        fields >> skipped;
    long long ticks = 0;
    if (!(fields >> ticks))
        return 0;
    return startOfMachine() + static_cast<std::time_t>(ticks / sysconf(_SC_CLK_TCK));
}

std::string programOf(pid_t process) {
    std::array<char, PATH_MAX> path;
    const ssize_t length = readlink(fmt::format("/proc/{}/exe", process).c_str(), path.data(), path.size());
    return length > 0 ? std::string(path.data(), static_cast<std::size_t>(length)) : std::string();
}

// The processes that hold the lock of the log folder or wait for it, as the kernel reports them. Trying the
// lock would make a launcher that starts at this moment believe that another one is running.
std::vector<LiveLauncher> launchersNow(const std::string& logFolder) {
    std::vector<LiveLauncher> launchers;
    struct stat lock;
    if (logFolder.empty() || stat((logFolder + "launcher.lock").c_str(), &lock) != 0)
        return launchers;
    std::istringstream lines(textOf("/proc/locks"));
    // 4: FLOCK  ADVISORY  WRITE 1816 00:2d:917515 0 EOF, and "4: -> FLOCK ..." for a waiting one
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string number, kind, advisory, write, file;
        LiveLauncher launcher;
        words >> number >> kind;
        launcher.isWaiting = kind == "->";
        if (launcher.isWaiting)
            words >> kind;
        if (kind != "FLOCK" || !(words >> advisory >> write >> launcher.process >> file))
            continue;
        if (file.substr(file.rfind(':') + 1) != std::to_string(lock.st_ino))
            continue;
        launcher.since = startOfProcess(launcher.process);
        launcher.program = programOf(launcher.process);
        launchers.push_back(launcher);
    }
    return launchers;
}

std::string folderOf(const std::string& program) {
    return program.substr(0, program.rfind('/') + 1);
}

void add(CheckResult& result, const char* id, const std::string& file, std::string wrong,
         std::string expected) {
    Place place;
    place.file = file;
    result.findings.push_back({id, std::move(place), std::move(wrong), std::move(expected), ""});
}

// The files are read once, when the launcher starts; that time is known only to the second.
void checkAge(const LiveLauncher& launcher, CheckResult& result) {
    static constexpr std::time_t UNSURE = 2;
    for (const char* const name :
         {"ID.txt", "Launcher.cfg", "tracer_zevolauncher.cfg", "logger_launcher.cfg"}) {
        const std::string path = folderOf(launcher.program) + name;
        struct stat file;
        if (launcher.since != 0 && stat(path.c_str(), &file) == 0 && file.st_mtime > launcher.since + UNSURE)
            add(result, "live-file-changed", path,
                fmt::format("has been changed since the launcher (process {}) read it", launcher.process),
                "a restart of the launcher");
    }
}

void checkLaunchers(const Live& live, const CheckOptions& options, CheckResult& result) {
    const auto running = std::find_if(live.launchers.begin(), live.launchers.end(),
                                      [](const LiveLauncher& launcher) { return !launcher.isWaiting; });
    if (running == live.launchers.end()) {
        if (!result.logFolder.empty())
            add(result, "live-no-launcher", result.logFolder,
                "no launcher of this user holds this log folder: none runs",
                "a running launcher; see: systemctl --user status zevolauncher");
        return;
    }
    if (running->program.empty())
        return;
    checkAge(*running, result);
    const std::string checked = LinuxPlatform::realPath(options.folder.empty() ? "." : options.folder) + "/";
    const std::string used = folderOf(running->program);
    if (LinuxPlatform::realPath(used) + "/" != checked)
        add(result, "live-other-folder", used,
            fmt::format(
                "the launcher that runs (process {}) reads its files here, not those that were checked",
                running->process),
            checked);
}

} // namespace

std::vector<LiveDevice> connectedDevices(const HardwareIds& ids) {
    std::vector<LiveDevice> devices;
    IOObjectHandle iterator;
    if (IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching("IOUSBDevice"),
                                     iterator.receive()) != KERN_SUCCESS)
        return devices;
    const std::string toFind = decimalPairOf(ids.modemToFind);
    while (const io_registry_entry_t next = IOIteratorNext(iterator.get())) {
        const IOObjectHandle entry(next);
        LiveDevice device;
        if (!hasNumber(entry.get(), CFSTR("idVendor"), device.vendor) ||
            !hasNumber(entry.get(), CFSTR("idProduct"), device.product))
            continue;
        device.name = readName(entry.get());
        device.hardwareId = fmt::format("USB#Vid_{:04x}&Pid_{:04x}", device.vendor, device.product);
        device.isModem = StringManagement::compareNoCase(device.hardwareId, ids.modem);
        device.isCdRom = StringManagement::compareNoCase(device.hardwareId, ids.cdRom);
        device.isModemToFind = fmt::format("{}|{}", device.vendor, device.product) == toFind;
        devices.push_back(device);
    }
    std::sort(devices.begin(), devices.end(), [](const LiveDevice& left, const LiveDevice& right) {
        return std::make_pair(left.vendor, left.product) < std::make_pair(right.vendor, right.product);
    });
    return devices;
}

Live lookAtMachine(const CheckOptions& options, CheckResult& result) {
    Live live;
    live.devices = connectedDevices(result.ids);
    live.hearsOfHotPlug = canHearOfHotPlug();
    if (!live.hearsOfHotPlug)
        add(result, "live-no-hot-plug", "udev",
            "nothing tells of devices that arrive or leave: only what is there when the launcher starts is "
            "found",
            "a running udev daemon (/run/udev/control), which containers often lack");
    bool isListReadable = false;
    live.applications = applicationsNow(isListReadable);
    if (!isListReadable)
        add(result, "live-no-process-list", "/proc",
            "it cannot be told what runs, so nothing is started: starting fails with status -600",
            "a mounted /proc");
    live.trace = ringNow(result.trace);
    live.log = ringNow(result.log);
    live.launchers = launchersNow(result.logFolder);
    checkLaunchers(live, options, result);
    return live;
}

} // namespace Zevo
