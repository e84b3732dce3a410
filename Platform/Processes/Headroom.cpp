#include "Platform/Processes/Headroom.h"

#include <fcntl.h>

#include <cerrno>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "Platform/Files/FileDescriptor.h"

namespace quillmore::platform {

namespace {

std::optional<Error> lackOfDescriptors(int count) {
    std::vector<FileDescriptor> opened;
    for (int i = 0; i < count; ++i) {
        opened.emplace_back(::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!opened.back()) return Error::posix(errno);
    }
    return std::nullopt;
}

std::optional<Error> lackOfThreads(int count) {
    std::optional<Error> lack;
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    std::mutex gate;
    std::unique_lock closed(gate);  // all of them are there at the same time
    try {
        for (int i = 0; i < count; ++i)
            threads.emplace_back([&gate] { const std::lock_guard passing(gate); });
    } catch (const std::system_error& error) {
        lack = Error::posix(error.code().value());
    }
    closed.unlock();
    for (std::thread& thread : threads) thread.join();
    return lack;
}

}  // namespace

std::optional<Error> lackOf(const Headroom& room) {
    if (const auto lack = lackOfDescriptors(room.descriptors)) return lack;
    return lackOfThreads(room.threads);
}

}  // namespace quillmore::platform
