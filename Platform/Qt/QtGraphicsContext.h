// Drawing of a neutral view by a painter of the toolkit. Points are the toolkit's
// device-independent pixels; on a screen of higher density the double-density pictures are taken.
// In a layout from right to left the whole drawing is mirrored, text and pictures in themselves are
// not.
#pragma once

#include <QPainter>

#include "Platform/Interface/Graphics.h"

namespace quillmore::platform {

class QtGraphicsContext final : public GraphicsContext {
public:
    /// `size`: of the view. The painter must outlive the object.
    QtGraphicsContext(QPainter& painter, const QSizeF& size, Qt::LayoutDirection direction);

    void lockFocus() override { painter_.save(); }
    void unlockFocus() override { painter_.restore(); }
    void fillRect(const Rect& rect, Color color) override;
    void drawImage(const Image& image, const Rect& into) override;
    void drawText(const std::string& text, const Point& at,
                  const TextAttributes& attributes) override;
    void drawText(const std::string& text, const Rect& into, std::uint32_t options,
                  const TextAttributes& attributes) override;

private:
    QRectF toolkitRect(const Rect& rect) const;
    void setAttributes(const TextAttributes& attributes);

    QPainter& painter_;
    QSizeF size_;
    Qt::LayoutDirection direction_;
};

}  // namespace quillmore::platform
