// Small pictures made in a test: uncompressed 24-bit BMP files of one colour.
#pragma once

#include <cstdint>
#include <string>

namespace quillmore::tests {

inline std::string bitmapFile(std::uint32_t width, std::uint32_t height, std::uint8_t red = 0,
                              std::uint8_t green = 0, std::uint8_t blue = 0) {
    const auto little = [](std::uint64_t value, int bytes) {
        std::string text;
        for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
        return text;
    };
    const std::uint32_t rowBytes = (width * 3 + 3) / 4 * 4;
    std::string file = "BM" + little(54 + rowBytes * height, 4) + little(0, 4) + little(54, 4);
    file += little(40, 4) + little(width, 4) + little(height, 4) + little(1, 2) + little(24, 2);
    file += little(0, 4) + little(rowBytes * height, 4) + little(2835, 4) + little(2835, 4) +
            little(0, 8);
    for (std::uint32_t y = 0; y < height; ++y) {
        std::string row;
        for (std::uint32_t x = 0; x < width; ++x) {
            row += static_cast<char>(blue);
            row += static_cast<char>(green);
            row += static_cast<char>(red);
        }
        row.resize(rowBytes);
        file += row;
    }
    return file;
}

}  // namespace quillmore::tests
