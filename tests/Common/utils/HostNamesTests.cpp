#include "Common/utils/HostNames.h"

#include <arpa/inet.h>
#include <netdb.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#ifdef __linux__
#include <sched.h>
#endif

#include "tests/Common/LogTest.h"
#include "tests/Platform/Processes/ForkedProcess.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Addresses = std::vector<std::string>;

using HostNames = LogTest;

template <const char* const& name>
int giveName(char* buffer, std::size_t size) {
    std::strncpy(buffer, name, size);
    return 0;
}
const char* const kOfficeMac = "office-mac.local";
const char* const kLocalInTheMiddle = "office.local.example.com";
const char* const kLonger = "office-mac.locally";
const char* const kWithoutPoint = "office-maclocal";
const char* const kPlain = "office-mac";
const char* const kQualified = "office-mac.example.com";

TEST_F(HostNames, LocalNameGetsAFinalPoint) {
    EXPECT_EQ(_hostnameFrom(giveName<kOfficeMac>), "office-mac.local.");
}

TEST_F(HostNames, OtherNamesStayAsTheyAre) {
    EXPECT_EQ(_hostnameFrom(giveName<kPlain>), "office-mac");
    EXPECT_EQ(_hostnameFrom(giveName<kQualified>), "office-mac.example.com");
}

TEST_F(HostNames, LocalElsewhereThanAtTheEndChangesNothing) {
    EXPECT_EQ(_hostnameFrom(giveName<kLocalInTheMiddle>), "office.local.example.com");
    EXPECT_EQ(_hostnameFrom(giveName<kLonger>), "office-mac.locally");
    EXPECT_EQ(_hostnameFrom(giveName<kWithoutPoint>), "office-maclocal");
}

TEST_F(HostNames, CallIsToldOf255ZeroedBytes) {
    const auto look = [](char* buffer, std::size_t size) {
        EXPECT_EQ(size, 255U);
        EXPECT_EQ(std::string(buffer, size), std::string(255, '\0'));
        return 0;
    };
    EXPECT_EQ(_hostnameFrom(look), "");
}

TEST_F(HostNames, NameThatFillsTheBufferIsNotReadBeyondIt) {
    const auto fill = [](char* buffer, std::size_t size) {
        std::memset(buffer, 'x', size);
        return 0;
    };
    EXPECT_EQ(_hostnameFrom(fill), std::string(255, 'x'));
}

TEST_F(HostNames, FailureIsLoggedAndTheNameEmpty) {
    CapturedOutput captured;
    configureTerminal("error");
    captured.take();
    EXPECT_EQ(_hostnameFrom([](char*, std::size_t) { return -1; }), "");
    EXPECT_EQ(messages(captured.take().standardError), Addresses{"gethostname() failed"});
}

TEST_F(HostNames, MachinesNameEndsBeforeTheFirstPoint) {
    EXPECT_EQ(_nameFromHostname("office-mac.local."), "office-mac");
    EXPECT_EQ(_nameFromHostname("office-mac"), "office-mac");
    EXPECT_EQ(_nameFromHostname(".local"), "");
    EXPECT_EQ(_nameFromHostname(""), "");
}

TEST_F(HostNames, MachineSaysItsOwnName) {
    char buffer[256] = {};
    ASSERT_EQ(::gethostname(buffer, sizeof buffer - 1), 0);
    EXPECT_TRUE(getThisMachinesHostname().starts_with(buffer));
    EXPECT_EQ(getThisMachinesName(), std::string(buffer).substr(0, std::string(buffer).find('.')));
}

#ifdef __linux__
TEST_F(HostNames, MachineNamedWithLocalIsNamedWithoutIt) {
    ForkedProcess renamed([] {
        const std::string name = "office-mac.local";
        if (::unshare(CLONE_NEWUTS) != 0 || ::sethostname(name.data(), name.size()) != 0) return 77;
        if (getThisMachinesHostname() != "office-mac.local.") return 1;
        return getThisMachinesName() == "office-mac" ? 0 : 2;
    });
    const int status = renamed.exitStatus();
    if (status == 77) GTEST_SKIP() << "needs the right to give a process a host name of its own";
    EXPECT_EQ(status, 0);
}
#endif

TEST(IpAddresses, AddressInNetworkOrderIsDottedDecimal) {
    EXPECT_EQ(_stringFromIPAddress(htonl(0x7f000001)), "127.0.0.1");
    EXPECT_EQ(_stringFromIPAddress(htonl(0xc0a80a14)), "192.168.10.20");
    EXPECT_EQ(_stringFromIPAddress(0), "0.0.0.0");
    EXPECT_EQ(_stringFromIPAddress(0xffffffff), "255.255.255.255");
}

/// What the C library's lookup would hand back.
class HostEntry {
public:
    explicit HostEntry(const std::vector<std::uint32_t>& addresses, int type = AF_INET,
                       int length = 4) {
        for (const std::uint32_t address : addresses) numbers_.push_back(htonl(address));
        for (in_addr_t& number : numbers_) list_.push_back(reinterpret_cast<char*>(&number));
        list_.push_back(nullptr);
        entry_.h_addrtype = type;
        entry_.h_length = length;
        entry_.h_addr_list = list_.data();
    }
    const hostent* get() const { return &entry_; }

private:
    std::vector<in_addr_t> numbers_;
    std::vector<char*> list_;
    hostent entry_{};
};

TEST(IpAddresses, EveryAddressComesInTheResolversOrder) {
    const HostEntry entry({0x0a000002, 0x0a000001, 0x7f000001});
    EXPECT_THAT(_addressesOfHostEntry(entry.get()),
                ElementsAre("10.0.0.2", "10.0.0.1", "127.0.0.1"));
}

TEST(IpAddresses, FailedLookupAndNoAddressAreEmpty) {
    EXPECT_THAT(_addressesOfHostEntry(nullptr), IsEmpty());
    EXPECT_THAT(_addressesOfHostEntry(HostEntry({}).get()), IsEmpty());
}

TEST(IpAddresses, AddressesOfAnotherKindAreNotTaken) {
    EXPECT_THAT(_addressesOfHostEntry(HostEntry({1}, AF_INET6, 16).get()), IsEmpty());
}

TEST(IpAddresses, NumericNameIsItsOwnAddress) {
    EXPECT_THAT(ipAddressesFromHostname("10.1.2.3"), ElementsAre("10.1.2.3"));
}

TEST(IpAddresses, NameThatCannotBeIsEmpty) {
    EXPECT_THAT(ipAddressesFromHostname(""), IsEmpty());
    EXPECT_THAT(ipAddressesFromHostname(std::string(300, 'x')), IsEmpty());
}

TEST(IpAddresses, LookupsOfManyThreadsDoNotMix) {
    std::vector<std::thread> threads;
    for (int number = 1; number <= 4; ++number)
        threads.emplace_back([number] {
            const std::string address = "10.0.0." + std::to_string(number);
            for (int round = 0; round < 100; ++round)
                ASSERT_THAT(ipAddressesFromHostname(address), ElementsAre(address));
        });
    for (std::thread& thread : threads) thread.join();
}

/// Names and addresses of a test's own, and a record of the lookups.
class SameMachine : public testing::Test {
protected:
    bool same(const std::string& first, const std::string& second) {
        return _areHostnamesSameMachine(first, second, [this](const std::string& name) {
            asked.push_back(name);
            return addresses.count(name) != 0 ? addresses.at(name) : Addresses{};
        });
    }
    std::map<std::string, Addresses> addresses{{"a", {"10.0.0.1", "10.0.0.2", "10.0.0.3"}},
                                               {"b", {"10.0.0.9", "10.0.0.2"}},
                                               {"c", {"10.0.0.7"}},
                                               {"prefix", {"10.0.0.70"}}};
    std::vector<std::string> asked;
};

TEST_F(SameMachine, EqualNamesAreNotLookedUp) {
    EXPECT_TRUE(same("nowhere", "nowhere"));
    EXPECT_TRUE(same("", ""));
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(SameMachine, SharedAddressSufficesAndEndsTheSearch) {
    EXPECT_TRUE(same("a", "b"));
    EXPECT_THAT(asked, ElementsAre("a", "b", "b"));
}

TEST_F(SameMachine, SecondNameIsLookedUpForEveryAddressOfTheFirst) {
    EXPECT_FALSE(same("a", "c"));
    EXPECT_THAT(asked, ElementsAre("a", "c", "c", "c"));
}

TEST_F(SameMachine, NameThatResolvesToNothingIsAnother) {
    EXPECT_FALSE(same("nowhere", "a"));
    EXPECT_FALSE(same("a", "nowhere"));
}

TEST_F(SameMachine, AddressesAreComparedWhole) {
    EXPECT_FALSE(same("c", "prefix"));
}

TEST_F(SameMachine, CaseOfNamesCountsBeforeTheLookup) {
    EXPECT_FALSE(same("C", "c"));
    addresses["C"] = addresses["c"];
    EXPECT_TRUE(same("C", "c"));
}

TEST_F(SameMachine, RealLookupsAreUsed) {
    EXPECT_TRUE(areHostnamesSameMachine("10.1.2.3", "10.1.2.3"));
    EXPECT_TRUE(areHostnamesSameMachine("10.1.2.3", "10.1.515"));
    EXPECT_FALSE(areHostnamesSameMachine("10.1.2.3", "10.1.2.4"));
}

TEST_F(SameMachine, LocalhostIsTheLoopbackAddressWhereTheResolverSaysSo) {
    const Addresses local = ipAddressesFromHostname("localhost");
    if (std::count(local.begin(), local.end(), "127.0.0.1") == 0)
        GTEST_SKIP() << "the resolver knows no localhost at 127.0.0.1";
    EXPECT_TRUE(areHostnamesSameMachine("localhost", "127.0.0.1"));
}

}  // namespace
}  // namespace quillmore::tests
