// The names of this machine and of others, and their addresses. Any thread.
#pragma once

#include <netinet/in.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

struct hostent;

namespace quillmore {

/// The host's name; one that ends in ".local" gets a "." at its end, which makes it a full name for
/// the resolver. Empty, and an error line, when the system does not tell.
std::string getThisMachinesHostname();
/// The host's name up to its first ".".
std::string getThisMachinesName();

/// Dotted-decimal text of an IPv4 address in network byte order.
std::string _stringFromIPAddress(in_addr_t address);
/// Every IPv4 address of a name in the resolver's order; empty when it is unknown. May ask the
/// network, and blocks until it has answered; one name at a time for the whole process.
std::vector<std::string> ipAddressesFromHostname(const std::string& hostName);
/// True for equal texts, and for names that share an address. Looks names up.
bool areHostnamesSameMachine(const std::string& first, const std::string& second);

// What the functions above do with the answers of the system.
std::string _hostnameFrom(int (*getHostName)(char* buffer, std::size_t size));
std::string _nameFromHostname(const std::string& hostname);
std::vector<std::string> _addressesOfHostEntry(const hostent* entry);
bool _areHostnamesSameMachine(
    const std::string& first, const std::string& second,
    const std::function<std::vector<std::string>(const std::string&)>& addressesOf);

}  // namespace quillmore
