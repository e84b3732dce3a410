// What assistive technology is told about the widgets that are our own.
#pragma once

namespace quillmore::platform {

/// Once a process.
void installAccessibility();

}  // namespace quillmore::platform
