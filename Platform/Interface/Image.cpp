#include "Platform/Interface/Image.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_NO_STDIO
#define STBI_ONLY_PNG
#define STBI_ONLY_BMP
#define STBI_ONLY_JPEG
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wall"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image.h>
#pragma GCC diagnostic pop

#include "Platform/Files/FileManager.h"
#include "Platform/Settings/Bundle.h"

namespace quillmore::platform {

namespace {

struct FreeDecoded {
    void operator()(stbi_uc* bytes) const { stbi_image_free(bytes); }
};

Pixels decode(const std::string& path) {
    const auto file = FileManager().contents(path, Image::kMaximumFileBytes);
    if (!file) return {};
    const auto* bytes = reinterpret_cast<const stbi_uc*>(file->data());
    const int length = static_cast<int>(file->size());
    Pixels pixels;
    int channels = 0;
    // The size first: a damaged header must not make the decoder reserve gigabytes.
    if (stbi_info_from_memory(bytes, length, &pixels.width, &pixels.height, &channels) == 0)
        return {};
    if (pixels.width > Image::kMaximumSide || pixels.height > Image::kMaximumSide) return {};
    const std::unique_ptr<stbi_uc, FreeDecoded> decoded(
        stbi_load_from_memory(bytes, length, &pixels.width, &pixels.height, &channels, 4));
    if (decoded == nullptr || pixels.width <= 0 || pixels.height <= 0) return {};
    const auto count =
        static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height) * 4;
    pixels.rgba.assign(decoded.get(), decoded.get() + count);
    return pixels;
}

std::string doubleDensityPath(const std::string& path) {
    const std::size_t dot = path.rfind('.');
    const std::size_t slash = path.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return path + "@2x";
    return path.substr(0, dot) + "@2x" + path.substr(dot);
}

}  // namespace

ImageReference Image::fromFile(const FileManager& files, const std::string& path) {
    auto image = std::make_shared<Image>(files.hostPath(path));
    return image->pixels().rgba.empty() ? nullptr : image;
}

ImageReference Image::named(const FileManager& files, const Bundle& bundle,
                            const std::string& name) {
    const auto path = bundle.pathForResource(name, "");
    return path ? std::make_shared<Image>(files.hostPath(*path)) : nullptr;
}

Size Image::size() const {
    const Pixels& single = pixels();
    return {static_cast<double>(single.width), static_cast<double>(single.height)};
}

const Pixels& Image::pixels(int scale) const {
    const std::lock_guard lock(mutex_);
    if (!single_) single_ = decode(path_);
    if (scale < 2) return *single_;
    if (!double_) double_ = decode(doubleDensityPath(path_));
    return double_->rgba.empty() ? *single_ : *double_;
}

}  // namespace quillmore::platform
