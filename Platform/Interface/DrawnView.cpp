#include "Platform/Interface/DrawnView.h"

namespace quillmore::platform {

void DrawnView::drawRect(const Rect&, GraphicsContext&) {}

}  // namespace quillmore::platform
