#include "Check.h"

#include "ApplicationCheck.h"
#include "CardCheck.h"
#include "FolderCheck.h"
#include "SourceText.h"

#include "AppData.h"

#include <fmt/format.h>

namespace Zevo {
namespace {

std::string logFolderOf(const CardResult& card) {
    AppData::setGlobalScope(card.upgradeCode);
    return AppData("Logs").getPathForFile("Logs");
}

void checkLogFolder(const std::string& folder, Findings& findings) {
    const std::string wrong = whyNotWritable(folder, FolderMustExist::NO_IF_IT_CAN_BE_MADE);
    if (wrong.empty())
        return;
    Place place;
    place.file = folder;
    findings.push_back(
        {"log-folder-not-writable", place,
         fmt::format(
             "the folder of trace and log {}: the launcher ends at once, or can trace and log nothing",
             wrong),
         "a folder that this user may write to, or can make", ""});
}

void checkNames(const CheckResult& result, Findings& findings) {
    const bool isShared = result.trace.isOn && result.log.isOn && !result.trace.baseName.empty() &&
                          result.trace.baseName == result.log.baseName;
    if (!isShared)
        return;
    const SourceText file(result.log.file, result.log.file);
    findings.push_back(
        {"log-and-trace-share-a-name", file.atLine(result.log.line),
         fmt::format("the trace has the same name ({}:{}) and empties the file at each start: lines of the "
                     "log are lost",
                     result.trace.file, result.trace.line),
         "a name of its own", ""});
}

} // namespace

CheckResult checkInstallation(const CheckOptions& options) {
    CheckResult result;
    const CardResult card = checkCard(options.folder, result.findings);
    result.ids = checkLauncherConfiguration(options.folder, result.findings);
    Outputs outputs;
    if (card.isReadable) {
        result.logFolder = outputs.logFolder = logFolderOf(card);
        outputs.freeBytes =
            options.freeBytes ? options.freeBytes(outputs.logFolder) : freeBytesFor(outputs.logFolder);
    }
    result.trace = checkTrace(options.folder, outputs, result.findings);
    result.log = checkLog(options.folder, outputs, result.findings);
    checkNames(result, result.findings);
    if (card.isReadable)
        checkLogFolder(result.logFolder, result.findings);
    if (options.withApplications)
        checkApplications(result.findings);
    return result;
}

} // namespace Zevo
