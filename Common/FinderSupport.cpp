#include "Common/FinderSupport.h"

#include <signal.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "Common/BrandingManager.h"
#include "Common/FinderScripts.h"
#include "Common/Tools/ProcessUtilities.h"
#include "Platform/Ports/AppleEvents.h"
#include "Platform/Ports/ScriptRunner.h"
#include "Platform/Ports/Services.h"
#include "Platform/Ports/Workspace.h"
#include "Platform/Threads/Clock.h"
#include "Platform/Threads/SharedInstance.h"

namespace quillmore {

namespace {

constexpr double kSecondsASelectionStays = 2.5;
/// The reference date, 2001-01-01 00:00:00 UTC.
constexpr std::chrono::sys_days kReferenceDate = std::chrono::year(2001) / std::chrono::January / 1;

platform::ScriptRunner& scriptRunner() {
    return *platform::services().scriptRunner;
}

struct SelectionScripts {
    SelectionScripts() {
        plain = scriptRunner().createScript(selectionScript());
        scriptRunner().compile(*plain);
        retry = scriptRunner().createScript(retrySelectionScript(QMLocalizedString("ProductName")));
        // Deliberate: the plain script once more; the other one compiles itself when it first runs.
        scriptRunner().compile(*plain);
    }
    std::unique_ptr<platform::Script> plain;
    std::unique_ptr<platform::Script> retry;
};

platform::SharedInstance<SelectionScripts> selectionScripts;
platform::SharedInstance<FinderSupport> sharedInstance;

double secondsSinceReferenceDate(platform::Clock::WallTime time) {
    return std::chrono::duration<double>(time - kReferenceDate).count();
}

std::optional<platform::ScriptDescriptor> resultOfRunning(const std::string& source) {
    const auto script = scriptRunner().createScript(source);
    scriptRunner().compile(*script);
    std::optional<platform::ScriptDescriptor> result;
    scriptRunner().execute(*script, result);
    return result;
}

/// High word 0, low word 1: the system process. In the byte order of the machine.
std::string serialNumberOfSystemProcess() {
    constexpr std::uint32_t words[] = {0, 1};
    return {reinterpret_cast<const char*>(words), sizeof words};
}

}  // namespace

FinderSupport& FinderSupport::sharedManager() {
    initialize();
    return sharedInstance.get();
}

FinderSupport::FinderSupport() {
    initialize();
}

void FinderSupport::initialize() {
    selectionScripts.get();
}

const std::vector<std::string>& FinderSupport::getSelectedFinderItemsIsRetry(bool retry) {
    const double now = secondsSinceReferenceDate(platform::services().clock->now());
    if (!retry && now - _lastRequestTimeInterval <= kSecondsASelectionStays) return _fileList;
    const std::lock_guard lock(fileListMutex_);
    _fileList.clear();
    appendSelectedFinderItemsToArray(_fileList, retry);
    _lastRequestTimeInterval = now;
    return _fileList;
}

void FinderSupport::appendSelectedFinderItemsToArray(std::vector<std::string>& array,
                                                     bool isRetry) {
    SelectionScripts& scripts = selectionScripts.get();
    std::optional<platform::ScriptDescriptor> result;
    scriptRunner().execute(isRetry ? *scripts.retry : *scripts.plain, result);
    if (!result || result->type != platform::kScriptTypeList) return;
    array.insert(array.end(), result->items.begin(), result->items.end());
}

std::vector<std::string> FinderSupport::createSelectedFinderItemsArrayNoCacheIsRetry(bool retry) {
    std::vector<std::string> array;
    appendSelectedFinderItemsToArray(array, retry);
    return array;
}

std::vector<std::string> FinderSupport::getSelectedFinderItemsNoCacheIsRetry(bool retry) {
    return createSelectedFinderItemsArrayNoCacheIsRetry(retry);
}

bool FinderSupport::showConnectedServersOnDesktop() {
    initialize();
    const auto result = resultOfRunning(showConnectedServersScript());
    return !result || result->booleanValue;
}

void FinderSupport::setShowConnectedServersOnDesktop(bool show) {
    initialize();
    resultOfRunning(setShowConnectedServersScript(show));
}

void FinderSupport::updateFileAtPath(const std::string& path) {
    initialize();
    resultOfRunning(updateFileScript(path));
}

platform::OSStatus FinderSupport::sendAppleEventToSystemProcess(
    platform::FourCharCode eventIdentifier) {
    initialize();
    platform::AppleEvents& appleEvents = *platform::services().appleEvents;
    std::unique_ptr<platform::AppleEventDescriptor> address;
    platform::OSStatus status = appleEvents.createDescriptor(
        platform::fourCharCode("psn "), serialNumberOfSystemProcess(), address);
    if (status != 0) return status;
    platform::AppleEventHeader header;
    header.eventClass = platform::fourCharCode("aevt");
    header.eventIdentifier = eventIdentifier;
    std::unique_ptr<platform::AppleEvent> event;
    status = appleEvents.createEvent(header, *address, event);
    address.reset();
    if (status != 0) return status;
    std::unique_ptr<platform::AppleEventDescriptor> reply;
    return appleEvents.sendEvent(*event, platform::AppleEventSendOptions(), reply);
}

void FinderSupport::quitiTunes() {
    initialize();
    const auto information = ProcessUtilities::getRunningiTunesInfo();
    if (!information) return;
    const platform::Value* process =
        platform::find(*information, platform::kApplicationProcessIdentifier);
    // 0 and below would name whole groups of processes.
    if (process != nullptr && process->intValue() > 0) ::kill(process->intValue(), SIGTERM);
}

}  // namespace quillmore
