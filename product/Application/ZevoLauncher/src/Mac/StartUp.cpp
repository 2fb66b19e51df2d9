// Compiled for both hosts: the start is the same on both.

#include "StartUp.h"

#include "AppData.h"
#include "CallMarker.h"
#include "FileSystemManagement.h"
#include "IDCardReader.h"
#include "KFExceptionHandler.h"
#include "LauncherLock.h"
#include "LogMessage.h"
#include "Logger.h"
#include "MessageType.h"
#include "Tracer.h"
#include "detail/NeverDestroyed.h"
#include "detail/SmallFile.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

using namespace kf::detail;

// Support identifies these failures by this file and these lines; they do not change with the code.
static const char KF_SOURCE[] = "product/Application/ZevoLauncher/src/Mac/Main";
static const int NO_CARD_LINE = 43;
static const int NO_LOG_FOLDER_LINE = 54;

static const char DOMAIN_NAME[] = "Logs";

namespace {

/// Ends the process through the crash handler; returns only if that is not installed.
void reportFailure(const char* message, int line) {
    TRACE_FUNCTION("reportFailure");
    KFExceptionHandler::GetInstance()->throwException(0, "INTERNAL ERROR", message, KF_SOURCE, line);
}

/// DELIBERATE: the two messages contain quotation marks and differ in the blank before the colon; support
/// searches for them as they are.
void readCard(IDCardReader& card) {
    TRACE_FUNCTION("readCard");
    if (card.readIDCard())
        return;
    // Standard error: there is neither a trace nor a log yet.
    const std::string path = FileSystemManagement::getCurrentExecutableDirectory() + IDCardReader::FILE_NAME;
    std::string refusal = "no line in it is right, or one holds \"&\"";
    SmallFile::open(path, SmallFile::CONFIGURATION_LIMIT, refusal);
    std::fprintf(stderr, "ZevoLauncher : the identity card %s is not read : %s\n", path.c_str(),
                 refusal.c_str());
    reportFailure("\"cannot start ZevoLauncher: no ID card\"", NO_CARD_LINE);
}

void makeLogFolder(const std::string& folder) {
    TRACE_FUNCTION("makeLogFolder");
    if (FileSystemManagement::existFile(folder))
        return;
    // Without the user's folder the path begins at the root, where the superuser could create anything.
    const bool isUserFolderKnown = !FileSystemManagement::getUserAppDataDirectory().empty();
    if (isUserFolderKnown && FileSystemManagement::createFolder(folder))
        return;
    // Standard error: there is neither a trace nor a log yet.
    std::fprintf(stderr, "ZevoLauncher : cannot create the log folder %s%s\n", folder.c_str(),
                 isUserFolderKnown ? "" : " : the system knows no folder for the user's application data");
    reportFailure("\"cannot start ZevoLauncher : unable to log\"", NO_LOG_FOLDER_LINE);
}

/// Logs one line into the running launcher's log, with a logger that exists only for this line.
void logOnce(const std::string& line, const std::string& logFolder, const std::string& configurationFile) {
    TRACE_FUNCTION("logOnce");
    if (!FileSystemManagement::existFile(configurationFile))
        return; // the start that follows warns about that
    Logger logger;
    logger.SetFolderName(logFolder);
    logger.ReadConfigFile(configurationFile.c_str());
    if (logger.isEnabled() && logger.hasInLevelMask(MSG_ERROR))
        logger.PrintMsg(MSG_ERROR, "%s", line.c_str());
    logger.FinishLogging();
}

/// Two launchers with one log folder would empty each other's trace, and both would do the same. The second
/// one waits and then takes over: the session of the first may just be ending.
void awaitEndOfOtherLauncher(const std::string& logFolder, const std::string& loggerConfigurationFile) {
    TRACE_FUNCTION("awaitEndOfOtherLauncher");
    // Held until the process ends. A second start-up in the same process is not a second launcher.
    static LauncherLock* lock = nullptr;
    if (lock != nullptr)
        return;
    static NeverDestroyed<LauncherLock> theLock(logFolder);
    lock = &theLock.get();
    if (!lock->isHeldByAnother())
        return;
    const long process = lock->otherProcess();
    const std::string line = "another launcher runs" +
                             (process > 0 ? " (process " + std::to_string(process) + ")" : std::string()) +
                             "; waiting for its end";
    std::fprintf(stderr, "ZevoLauncher : %s\n", line.c_str());
    logOnce(line, logFolder, loggerConfigurationFile);
    lock->waitForIt();
}

/// Creates the tracer or the logger. They are never destroyed: threads may trace and log until the process
/// ends.
template <typename Facility>
void create(const std::string& logFolder, const std::string& configurationFile) {
    static NeverDestroyed<Facility> facility;
    Facility::SetInstance(&facility.get());
    facility.get().SetFolderName(logFolder);
    facility.get().ReadConfigFile(configurationFile.c_str());
}

void startTracer(const std::string& logFolder, const std::string& configurationFile) {
    TRACE_FUNCTION("startTracer");
    if (Tracer::GetInstance() != nullptr)
        return;
    create<Tracer>(logFolder, configurationFile);
    // Before the first traced call, even one in this file: that would register the thread as "th_<id>", and a
    // later name has no effect.
    if (Tracer::isActive())
        Tracer::GetInstance()->BeginningOfThread("MAIN");
}

void startLogger(const std::string& logFolder, const std::string& configurationFile) {
    TRACE_FUNCTION("startLogger");
    if (Logger::GetInstance() == nullptr)
        create<Logger>(logFolder, configurationFile);
}

void logBanner(const std::string& executable, IDCardReader& card) {
    TRACE_FUNCTION("logBanner");
    LOG_MESSAGE(MSG_LEVEL_0, "Starting Vurl %s with ID card :", executable.c_str());
    LOG_MESSAGE(MSG_LEVEL_0, " * Commercial version : %s", card.getCommercialVersion().c_str());
    LOG_MESSAGE(MSG_LEVEL_0, " * Product Name : %s", card.getProductName().c_str());
    LOG_MESSAGE(MSG_LEVEL_0, " * BU Name : %s", card.getBUName().c_str());
    LOG_MESSAGE(MSG_LEVEL_0, " * Build Target : %s", card.getBuildTarget().c_str());
    LOG_MESSAGE(MSG_LEVEL_0, " * Reference version : %s", card.getReferenceVersion().c_str());
    LOG_MESSAGE(MSG_LEVEL_0, " * Product version : %s", card.getProductVersion().c_str());
    LOG_MESSAGE(MSG_LEVEL_0, " * Upgrade Code : %s", card.getUpgradeCode().c_str());
}

} // namespace

void openStandardFiles() {
    TRACE_FUNCTION("openStandardFiles");
    int file = 0;
    do {
        file = open("/dev/null", O_RDWR); // returns the lowest number that is free
    } while (file >= STDIN_FILENO && file <= STDERR_FILENO);
    if (file > STDERR_FILENO)
        close(file);
}

void initTracesAndLogs() {
    TRACE_FUNCTION("initTracesAndLogs");
    const std::string folder = FileSystemManagement::getCurrentExecutableDirectory();
    const std::string executable = FileSystemManagement::getCurrentExecutableName();
    IDCardReader card(folder);
    readCard(card);
    AppData::setGlobalScope(card.getUpgradeCode());

    const AppData logs(DOMAIN_NAME);
    const std::string logFolder = logs.getPathForFile("Logs");
    makeLogFolder(logFolder);

    const std::string loggerConfigurationFile = folder + "logger_launcher.cfg";
    awaitEndOfOtherLauncher(logFolder, loggerConfigurationFile);
    startTracer(logFolder, folder + "tracer_zevolauncher.cfg");
    startLogger(logFolder, loggerConfigurationFile);
    logBanner(executable, card);
}
