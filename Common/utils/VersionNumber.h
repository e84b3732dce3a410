// The build number that this program was made with.
#pragma once

namespace quillmore {

/// Made at build time from QUILLMORE_BUILD_NUMBER, for example 1856.0. Truncated when used.
extern const double Quillmore_ClientVersionNumber;

}  // namespace quillmore
