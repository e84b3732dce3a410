// A picture, free of any toolkit: its size in points and, decoded on first use, its pixels. A file
// "NAME@2x.EXT" beside "NAME.EXT" is the same picture for screens of double density.
// Decoding is stb_image's (PNG, BMP, JPEG): a toolkit would have to be loaded at every start just
// to learn whether a logo can be read. Immutable but for the lazy decoding, which takes a lock.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace quillmore::platform {

class Bundle;
class FileManager;

struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba;  ///< Four bytes a pixel, rows from the top.
};

struct Size {
    double width = 0;
    double height = 0;
    bool operator==(const Size&) const = default;
};

class Image {
public:
    /// Larger files and pictures are refused: no logo comes near them.
    static constexpr std::uint64_t kMaximumFileBytes = 16ULL * 1024 * 1024;
    static constexpr int kMaximumSide = 8192;

    /// Decodes at once; null when the file is missing, damaged or too large.
    static std::shared_ptr<const Image> fromFile(const FileManager& files, const std::string& path);
    /// The bundle's own image of that name; null when it has none. Decoded when first used.
    static std::shared_ptr<const Image> named(const FileManager& files, const Bundle& bundle,
                                              const std::string& name);

    /// `hostPath`: as the kernel is given it.
    explicit Image(std::string hostPath) : path_(std::move(hostPath)) {}

    const std::string& path() const { return path_; }
    /// In points; 0 × 0 for a picture that cannot be decoded.
    Size size() const;
    /// `scale` 2 gives the double-density picture when there is one. No pixels when it cannot be
    /// decoded.
    const Pixels& pixels(int scale = 1) const;

private:
    std::string path_;
    mutable std::mutex mutex_;
    mutable std::optional<Pixels> single_;
    mutable std::optional<Pixels> double_;
};

using ImageReference = std::shared_ptr<const Image>;

}  // namespace quillmore::platform
