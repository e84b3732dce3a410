// Who knows the brand that this program was built for: the application's delegate. Main thread
// only.
#pragma once

#include <cstdint>

namespace quillmore {

class BrandSource {
public:
    virtual ~BrandSource() = default;
    /// 0 when no brand is configured.
    virtual std::int32_t brandId() const = 0;
};

}  // namespace quillmore
