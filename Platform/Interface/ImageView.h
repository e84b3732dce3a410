// A control that shows one image. Main thread only.
#pragma once

#include <utility>

#include "Platform/Interface/Image.h"
#include "Platform/Interface/Outlets.h"

namespace quillmore::platform {

class ImageView final : public View {
public:
    using View::View;
    void setImage(ImageReference image) { image_ = std::move(image), changed(); }
    const ImageReference& image() const { return image_; }

private:
    ImageReference image_;
};

}  // namespace quillmore::platform
