#include "Common/utils/HostNames.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>

#include "Common/utils/Errors.h"
#include "Common/utils/Logging.h"
#include "Platform/Values/Text.h"

namespace quillmore {

std::string getThisMachinesHostname() {
    return _hostnameFrom(::gethostname);
}

std::string _hostnameFrom(int (*getHostName)(char* buffer, std::size_t size)) {
    std::array<char, 255> buffer{};
    if (getHostName(buffer.data(), buffer.size()) != 0) logError("gethostname() failed");
    // A name as long as the buffer has no end mark.
    std::string name(buffer.data(), ::strnlen(buffer.data(), buffer.size()));
    if (name.ends_with(".local")) name += '.';
    return name;
}

std::string getThisMachinesName() {
    return _nameFromHostname(getThisMachinesHostname());
}

std::string _nameFromHostname(const std::string& hostname) {
    const std::vector<std::string_view> hostnameComponents =
        platform::componentsSeparatedBy(hostname, '.');
    QMAssert2(!hostnameComponents.empty(), "[hostnameComponents count] >= 1", __FILE__, __LINE__);
    return std::string(hostnameComponents.front());
}

std::string _stringFromIPAddress(in_addr_t address) {
    std::array<char, 64> buffer{};
    const in_addr numbers{address};
    ::inet_ntop(AF_INET, &numbers, buffer.data(), buffer.size());
    return buffer.data();
}

std::vector<std::string> ipAddressesFromHostname(const std::string& hostName) {
    // The lookup answers in memory that all its callers share.
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    return _addressesOfHostEntry(::gethostbyname(hostName.c_str()));
}

std::vector<std::string> _addressesOfHostEntry(const hostent* entry) {
    std::vector<std::string> addresses;
    if (entry == nullptr || entry->h_addrtype != AF_INET ||
        entry->h_length != static_cast<int>(sizeof(in_addr_t)))
        return addresses;
    for (char** bytes = entry->h_addr_list; bytes != nullptr && *bytes != nullptr; ++bytes) {
        in_addr_t address = 0;
        std::memcpy(&address, *bytes, sizeof address);
        addresses.push_back(_stringFromIPAddress(address));
    }
    return addresses;
}

bool areHostnamesSameMachine(const std::string& first, const std::string& second) {
    return _areHostnamesSameMachine(first, second, ipAddressesFromHostname);
}

bool _areHostnamesSameMachine(
    const std::string& first, const std::string& second,
    const std::function<std::vector<std::string>(const std::string&)>& addressesOf) {
    if (first == second) return true;
    for (const std::string& address : addressesOf(first)) {
        // Deliberate: looked up again for every address of the first.
        const std::vector<std::string> others = addressesOf(second);
        if (std::find(others.begin(), others.end(), address) != others.end()) return true;
    }
    return false;
}

}  // namespace quillmore
