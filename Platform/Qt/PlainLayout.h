// The layout of a window whose user-interface file is of no use: its controls below each other, its
// buttons in a row.
#pragma once

#include <memory>

#include "Platform/Interface/Outlets.h"

namespace quillmore::platform {

class WindowDialog;

std::unique_ptr<WindowDialog> makePlainLayout(const Window& window);

}  // namespace quillmore::platform
