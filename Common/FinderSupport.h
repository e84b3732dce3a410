// What the client wants of the Finder and the system process: the selection, a preference, a
// refresh, an event. Failed scripts are never reported. Any thread; the list of the shared instance
// changes with its next refresh, so a thread that shares it with others takes an uncached one.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "Platform/Ports/Authorization.h"
#include "Platform/Ports/SystemInformation.h"

namespace quillmore {

class FinderSupport {
public:
    static FinderSupport& sharedManager();
    FinderSupport();

    /// Builds the two selection scripts, once; every other function sees to it by itself.
    static void initialize();

    /// POSIX paths of the Finder's selection: the cached array itself, which is refreshed first
    /// when more than 2.5 seconds have passed since the last refresh and on every retry.
    const std::vector<std::string>& getSelectedFinderItemsIsRetry(bool retry);
    /// `appendSelectedFinderItemsToArray:isRetry:`: a retry brings the core and then the Finder to
    /// the front before it reads. Nothing selected leaves the array as it is.
    static void appendSelectedFinderItemsToArray(std::vector<std::string>& array, bool isRetry);
    static std::vector<std::string> createSelectedFinderItemsArrayNoCacheIsRetry(bool retry);
    static std::vector<std::string> getSelectedFinderItemsNoCacheIsRetry(bool retry);

    /// True when the Finder does not answer.
    static bool showConnectedServersOnDesktop();
    static void setShowConnectedServersOnDesktop(bool show);
    static void updateFileAtPath(const std::string& path);

    /// A core event without parameters, no reply wanted. The first status that is not 0, or 0.
    static platform::OSStatus sendAppleEventToSystemProcess(platform::FourCharCode eventIdentifier);
    /// Sends iTunes, when it runs, the termination signal.
    static void quitiTunes();

private:
    std::recursive_mutex fileListMutex_;  // a script may bring the same thread back here
    std::vector<std::string> _fileList;
    /// Seconds since the reference date; atomic since hits of the cache take no lock.
    std::atomic<double> _lastRequestTimeInterval = 0;
};

}  // namespace quillmore
