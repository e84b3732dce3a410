// Writes binary property lists, sound and damaged ones.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quillmore::tests {

inline std::string bigEndian(std::uint64_t number, int bytes) {
    std::string text;
    for (int index = bytes - 1; index >= 0; --index) {
        text += static_cast<char>(number >> (index * 8) & 0xFF);
    }
    return text;
}

/// The fields of a file, each of which a test can make wrong.
struct BinaryFile {
    std::vector<std::string> objects;
    int referenceSize = 1;
    int offsetSize = 4;
    std::uint64_t topObject = 0;
    std::optional<std::uint64_t> objectCount = {};
    std::optional<std::uint64_t> tableOffset = {};

    std::string bytes() const {
        std::string file = "bplist00";
        std::string offsets;
        for (const std::string& object : objects) {
            offsets += bigEndian(file.size(), offsetSize);
            file += object;
        }
        const std::uint64_t table = tableOffset.value_or(file.size());
        file += offsets + std::string(6, '\0') + static_cast<char>(offsetSize) +
                static_cast<char>(referenceSize);
        return file + bigEndian(objectCount.value_or(objects.size()), 8) + bigEndian(topObject, 8) +
               bigEndian(table, 8);
    }
};

}  // namespace quillmore::tests
