// A view that draws itself. The user interface that shows it keeps its frame up to date, says
// whether its window is on screen, and has it redrawn when asked. Main thread only.
#pragma once

#include "Platform/Interface/Graphics.h"
#include "Platform/Interface/Outlets.h"

namespace quillmore::platform {

class DrawnView : public View {
public:
    DrawnView(std::string name, const Rect& frame) : View(std::move(name)), frame_(frame) {}

    const Rect& frame() const { return frame_; }
    void setFrame(const Rect& frame) { frame_ = frame; }
    /// The frame in the view's own coordinates.
    Rect bounds() const { return {0, 0, frame_.width, frame_.height}; }
    bool isWindowOnScreen() const { return windowOnScreen_; }
    void setWindowOnScreen(bool onScreen) { windowOnScreen_ = onScreen; }
    /// Asks for a redraw: the observer is told.
    void setNeedsDisplay() { changed(); }

    /// Draws what lies in `dirtyRect`; this one draws nothing.
    virtual void drawRect(const Rect& /*dirtyRect*/, GraphicsContext& /*context*/) {}

private:
    Rect frame_;
    bool windowOnScreen_ = false;
};

}  // namespace quillmore::platform
