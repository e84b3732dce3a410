// A secret that a test can look for in the memory of its process without having it there itself:
// each letter is made when it is compared.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Values/SecretMemory.h"

namespace quillmore::tests {

class HiddenText {
public:
    /// The number tells secrets apart.
    constexpr HiddenText(std::size_t length, unsigned number) : length_(length), number_(number) {}

    static bool canBeSearchedFor() { return ::access("/proc/self/mem", R_OK) == 0; }
    /// The caller wipes it.
    std::string text() const {
        std::string text = platform::makeSecret(length_);
        for (std::size_t i = 0; i < length_; ++i) text += letter(i);
        return text;
    }
    /// Places in the writable memory of this process that hold it, as 8-bit or 16-bit characters.
    /// Allocates nothing: that would be put where a copy that was freed lies.
    int copiesInMemory() const {
        const platform::FileDescriptor memory(::open("/proc/self/mem", O_RDONLY | O_CLOEXEC));
        static std::array<char, 1 << 20> maps;
        readMaps(maps.data(), maps.size());
        int found = 0;
        for (const char* line = maps.data(); line != nullptr;) {
            unsigned long from = 0;
            unsigned long to = 0;
            char mode[5] = "";
            constexpr unsigned long kHuge = 1UL << 30;  // a sanitizer's own memory is terabytes
            if (std::sscanf(line, " %lx-%lx %4s", &from, &to, mode) == 3 &&
                std::strncmp(mode, "rw", 2) == 0 && to - from < kHuge)
                found += copiesBetween(memory, from, to);
            line = std::strchr(line, '\n');
            if (line != nullptr) ++line;
        }
        return found;
    }

private:
    char letter(std::size_t index) const {
        return static_cast<char>('A' + (index * 7 + number_ * 11 + index * index % 5) % 26);
    }
    static void readMaps(char* text, std::size_t size) {
        const platform::FileDescriptor maps(::open("/proc/self/maps", O_RDONLY | O_CLOEXEC));
        std::size_t used = 0;
        for (ssize_t count = 1; count > 0 && used + 1 < size;
             used += static_cast<std::size_t>(count))
            count = std::max<ssize_t>(::read(maps.get(), text + used, size - used - 1), 0);
        text[used] = '\0';
    }
    int copiesBetween(const platform::FileDescriptor& memory, std::uintptr_t from,
                      std::uintptr_t to) const {
        // One window at a time: its own copies would be found. It reaches into the next one, for
        // the text that lies across the border.
        constexpr std::uintptr_t kStep = 4096;
        static std::array<char, kStep + 256> window;
        const auto own = reinterpret_cast<std::uintptr_t>(window.data());
        int found = 0;
        for (std::uintptr_t at = from; at < to; at += kStep) {
            const bool isOwn = at < own + window.size() && own < at + window.size();
            const std::size_t wanted = std::min(window.size(), to - at);
            if (isOwn || ::pread(memory.get(), window.data(), wanted, static_cast<off_t>(at)) !=
                             static_cast<ssize_t>(wanted))
                continue;
            const std::string_view bytes(window.data(), wanted);
            found += countIn<char>(bytes, kStep) + countIn<char16_t>(bytes, kStep);
        }
        platform::wipe(window.data(), window.size());
        return found;
    }
    template <class Letter>
    int countIn(std::string_view bytes, std::size_t step) const {
        int count = 0;
        for (std::size_t at = 0; at < step && at + length_ * sizeof(Letter) <= bytes.size(); ++at)
            if (isAt<Letter>(bytes.data() + at)) ++count;
        return count;
    }
    /// Without its first letter, which a short text loses when it moves.
    template <class Letter>
    bool isAt(const char* bytes) const {
        for (std::size_t i = 1; i < length_; ++i) {
            Letter found{};
            std::memcpy(&found, bytes + i * sizeof found, sizeof found);
            if (found != static_cast<Letter>(letter(i))) return false;
        }
        return true;
    }

    std::size_t length_;
    unsigned number_;
};

}  // namespace quillmore::tests
