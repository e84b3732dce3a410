// The three standard descriptors at program start.
#pragma once

namespace quillmore::platform {

/// Opens the null device on those of the descriptors 0 to 2 that the caller left closed, so that no
/// file opened later becomes a standard stream by chance. Call first thing in main.
void ensureStandardDescriptors();

}  // namespace quillmore::platform
