#include "Platform/Qt/QtGraphicsContext.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QImage>
#include <cmath>

namespace quillmore::platform {

namespace {

QColor toolkitColor(Color color) {
    switch (color) {
        case Color::white:
            return Qt::white;
        case Color::black:
            return Qt::black;
        case Color::darkGray:
            break;
    }
    return QColor::fromRgbF(1.0F / 3, 1.0F / 3, 1.0F / 3);
}

/// A font that is not installed is replaced by the system's own, never by a likeness.
QFont toolkitFont(const Font& font) {
    const QString family = QString::fromStdString(font.family);
    QFont result = QGuiApplication::font();
    if (QFontDatabase::hasFamily(family)) result.setFamilies({family});
    result.setWeight(font.bold ? QFont::Bold : QFont::Normal);
    result.setPixelSize(static_cast<int>(std::lround(font.size)));
    return result;
}

}  // namespace

QtGraphicsContext::QtGraphicsContext(QPainter& painter, const QSizeF& size,
                                     Qt::LayoutDirection direction)
    : painter_(painter), size_(size), direction_(direction) {
    painter_.setRenderHints(QPainter::SmoothPixmapTransform | QPainter::TextAntialiasing);
    painter_.setLayoutDirection(direction);
}

QRectF QtGraphicsContext::toolkitRect(const Rect& rect) const {
    const double x = direction_ == Qt::RightToLeft ? size_.width() - rect.x - rect.width : rect.x;
    return {x, size_.height() - rect.y - rect.height, rect.width, rect.height};
}

void QtGraphicsContext::setAttributes(const TextAttributes& attributes) {
    painter_.setFont(toolkitFont(attributes.font));
    painter_.setPen(toolkitColor(attributes.foreground));
}

void QtGraphicsContext::fillRect(const Rect& rect, Color color) {
    painter_.fillRect(toolkitRect(rect), toolkitColor(color));
}

void QtGraphicsContext::drawImage(const Image& image, const Rect& into) {
    const int scale = painter_.device()->devicePixelRatioF() > 1.0 ? 2 : 1;
    const Pixels& pixels = image.pixels(scale);
    if (pixels.rgba.empty()) return;
    const QImage picture(pixels.rgba.data(), pixels.width, pixels.height, pixels.width * 4,
                         QImage::Format_RGBA8888);
    const QRectF target = toolkitRect(into);
    const QSize size = (target.size() * painter_.device()->devicePixelRatioF()).toSize();
    // The painter looks at four pixels only: shrinking far takes an average of all.
    if (size.width() * 2 <= picture.width() || size.height() * 2 <= picture.height()) {
        painter_.drawImage(target, picture.scaled(size.expandedTo({1, 1}), Qt::IgnoreAspectRatio,
                                                  Qt::SmoothTransformation));
    } else {
        painter_.drawImage(target, picture);
    }
}

void QtGraphicsContext::drawText(const std::string& text, const Point& at,
                                 const TextAttributes& attributes) {
    setAttributes(attributes);
    const QFontMetricsF metrics(painter_.font());
    const QString line = QString::fromStdString(text);
    const double width = metrics.horizontalAdvance(line) + 1;
    const QRectF target = toolkitRect({at.x, at.y, width, metrics.height()});
    painter_.drawText(target, Qt::AlignLeft | Qt::AlignBottom | Qt::TextSingleLine, line);
}

void QtGraphicsContext::drawText(const std::string& text, const Rect& into, std::uint32_t options,
                                 const TextAttributes& attributes) {
    if (into.width <= 0) return;
    setAttributes(attributes);
    QString line = QString::fromStdString(text);
    if ((options & kTextTruncatesLastVisibleLine) != 0)
        line = QFontMetricsF(painter_.font()).elidedText(line, Qt::ElideRight, into.width);
    // In the middle of the line: fonts of other systems are taller than the line it was made for.
    painter_.drawText(toolkitRect(into),
                      Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextDontClip,
                      line);
}

}  // namespace quillmore::platform
