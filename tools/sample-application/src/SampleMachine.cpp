#include "SampleMachine.h"

#include "Waiting.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <ftw.h>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace Zevo {
namespace {

const char* const INSTALLED_FILES[] = {"ID.txt", "Launcher.cfg", "tracer_zevolauncher.cfg",
                                       "logger_launcher.cfg"};

std::vector<std::string> entriesOf(const std::string& folder) {
    std::vector<std::string> result;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.c_str()), &closedir);
    while (const dirent* entry = listing ? readdir(listing.get()) : nullptr)
        if (entry->d_name[0] != '.')
            result.push_back(entry->d_name);
    return result;
}

/// A hard link to the program, or a copy if the file system does not allow links: a process is identified by
/// the name that it was started by.
void installProgram(const std::string& source, const std::string& destination) {
    if (link(source.c_str(), destination.c_str()) == 0)
        return;
    writeTextFile(destination, readTextFile(source));
    if (chmod(destination.c_str(), 0755) != 0)
        throw std::runtime_error("cannot make " + destination + " executable: " + std::strerror(errno));
}

int removeEntry(const char* path, const struct stat*, int, struct FTW*) {
    return std::remove(path);
}

std::string nameOf(SampleMachine::Bundle bundle) {
    return bundle == SampleMachine::Bundle::mainApplication ? "Quillmarsh" : "Murmel";
}

/// An application's Info.plist, which the platform reads.
std::string informationAbout(const std::string& name) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple Computer//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\"><dict>\n"
           "\t<key>CFBundleExecutable</key><string>" +
           name +
           "</string>\n"
           "\t<key>CFBundleName</key><string>" +
           name + "</string>\n</dict></plist>\n";
}

/// One element per line, nothing escaped: the form that the launcher reads.
std::string launcherEntry(const std::string& key, const std::string& value) {
    return "\t<key>" + key + "</key>\n\t<string>" + value + "</string>\n";
}

std::string executableOfProcess(const std::string& pid) {
    char target[PATH_MAX];
    const ssize_t length = readlink(("/proc/" + pid + "/exe").c_str(), target, sizeof target - 1);
    return std::string(target, length < 0 ? 0 : static_cast<std::size_t>(length));
}

std::vector<pid_t> processesWhoseProgram(const std::string& beginning, bool isWholePath) {
    std::vector<pid_t> result;
    for (const std::string& name : entriesOf("/proc")) {
        const pid_t pid = static_cast<pid_t>(std::strtol(name.c_str(), nullptr, 10));
        if (pid <= 0)
            continue;
        const std::string program = executableOfProcess(name);
        if (isWholePath ? program == beginning : program.compare(0, beginning.size(), beginning) == 0)
            result.push_back(pid);
    }
    return result;
}

} // namespace

std::string readTextFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void writeTextFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + path);
}

void createFolders(const std::string& path) {
    for (std::string::size_type end = path.find('/', 1); end != std::string::npos;
         end = path.find('/', end + 1))
        mkdir(path.substr(0, end).c_str(), 0777);
    if (mkdir(path.c_str(), 0777) != 0 && errno != EEXIST)
        throw std::runtime_error("cannot create " + path + ": " + std::strerror(errno));
}

pid_t StartReport::pid() const {
    return static_cast<pid_t>(std::strtol(value("pid").c_str(), nullptr, 10));
}

std::string StartReport::value(const std::string& name) const {
    const std::vector<std::string> all = values(name);
    return all.empty() ? std::string() : all.front();
}

std::vector<std::string> StartReport::values(const std::string& name) const {
    std::vector<std::string> result;
    std::istringstream lines(m_text);
    for (std::string line; std::getline(lines, line);)
        if (line.compare(0, name.size() + 1, name + "=") == 0)
            result.push_back(line.substr(name.size() + 1));
    return result;
}

SampleMachine::SampleMachine() : m_folder("zevo-machine") {
    createFolders(installationFolder());
    createFolders(dataFolder());
    installProgram(ZEVO_LAUNCHER_PROGRAM, launcherProgram());
    for (const char* name : INSTALLED_FILES)
        install(name, readTextFile(std::string(ZEVO_RESOURCES) + "/" + name));
    createBundle(Bundle::mainApplication);
    createBundle(Bundle::notifier);
}

SampleMachine::~SampleMachine() {
    const auto killed = [this] {
        const std::vector<pid_t> left = processes();
        for (const pid_t pid : left)
            kill(pid, SIGKILL);
        return left.empty();
    };
    waitUntil(killed);
}

std::string SampleMachine::logFolder() const {
    std::string code;
    std::istringstream lines(installedText("ID.txt"));
    for (std::string line; std::getline(lines, line);)
        if (line.compare(0, 13, "UPGRADE_CODE=") == 0)
            code = line.substr(13, line.find('\r') - 13);
    return dataFolder() + "/Ferrow/" + code + "/Logs";
}

std::vector<std::string> SampleMachine::environment() const {
    return {"PLATFORM_ROOT=" + folder() + "/root", "XDG_DATA_HOME=" + dataFolder()};
}

void SampleMachine::install(const std::string& name, const std::string& text) const {
    writeTextFile(installationFolder() + "/" + name, text);
}

void SampleMachine::uninstall(const std::string& name) const {
    unlink((installationFolder() + "/" + name).c_str());
}

std::string SampleMachine::installedText(const std::string& name) const {
    return readTextFile(installationFolder() + "/" + name);
}

void SampleMachine::installLauncherConfiguration(
    const std::map<std::string, std::string>& identifiers) const {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n";
    for (const auto& identifier : identifiers)
        text += launcherEntry(identifier.first, identifier.second);
    install("Launcher.cfg", text + "</dict>\n</plist>\n");
}

std::string SampleMachine::pathOf(Bundle bundle) {
    return bundle == Bundle::mainApplication ? "/Applications/Quillmarsh.app"
                                             : "/Applications/Quillmarsh.app/Contents/MacOS/Murmel.app";
}

std::string SampleMachine::executableOf(Bundle bundle) const {
    return placeOf(bundle) + "/Contents/MacOS/" + nameOf(bundle);
}

void SampleMachine::createBundle(Bundle bundle) const {
    createFolders(placeOf(bundle) + "/Contents/MacOS");
    writeTextFile(placeOf(bundle) + "/Contents/Info.plist", informationAbout(nameOf(bundle)));
    installProgram(ZEVO_SAMPLE_PROGRAM, executableOf(bundle));
}

void SampleMachine::removeBundle(Bundle bundle) const {
    nftw(placeOf(bundle).c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
}

std::vector<StartReport> SampleMachine::startsOf(Bundle bundle) const {
    const std::string reports = placeOf(bundle) + "/Contents/started";
    const std::string ending = ".txt";
    std::vector<StartReport> result;
    for (const std::string& name : entriesOf(reports))
        if (name.size() > ending.size() &&
            name.compare(name.size() - ending.size(), ending.size(), ending) == 0)
            result.emplace_back(readTextFile(reports + "/" + name));
    return result;
}

std::vector<pid_t> SampleMachine::processes() const {
    return processesWhoseProgram(folder() + "/", false);
}

std::vector<pid_t> SampleMachine::processesOf(Bundle bundle) const {
    return processesWhoseProgram(executableOf(bundle), true);
}

bool SampleMachine::quit(Bundle bundle) const {
    for (const pid_t pid : processesOf(bundle))
        kill(pid, SIGTERM);
    return waitUntil([this, bundle] { return processesOf(bundle).empty(); });
}

} // namespace Zevo
