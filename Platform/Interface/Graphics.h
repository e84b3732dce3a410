// Drawing without a toolkit: a view draws into a GraphicsContext, which a user interface puts on
// the screen and a test records (RecordingGraphicsContext). Coordinates are points, origin at the
// bottom left, y upwards.
#pragma once

#include <cstdint>
#include <string>

#include "Platform/Interface/Image.h"

namespace quillmore::platform {

struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    bool operator==(const Rect&) const = default;
};

enum class Color { white, black, darkGray };

struct Font {
    std::string family;
    bool bold = false;
    int weight = 5;  ///< 0 to 15, 5 is regular, 9 bold.
    double size = 12;
    bool operator==(const Font&) const = default;
};

struct TextAttributes {
    Font font;
    Color foreground = Color::black;
    bool operator==(const TextAttributes&) const = default;
};

/// Drawing options of texts, values of the platform.
inline constexpr std::uint32_t kTextUsesLineFragmentOrigin = 1;
inline constexpr std::uint32_t kTextTruncatesLastVisibleLine = 32;

class GraphicsContext {
public:
    virtual ~GraphicsContext() = default;
    /// All drawing of a view happens between the two.
    virtual void lockFocus() = 0;
    virtual void unlockFocus() = 0;
    virtual void fillRect(const Rect& rect, Color color) = 0;
    /// The whole image, scaled into the rectangle, source-over at full opacity.
    virtual void drawImage(const Image& image, const Rect& into) = 0;
    /// The text's lower left corner is at the point.
    virtual void drawText(const std::string& text, const Point& at,
                          const TextAttributes& attributes) = 0;
    virtual void drawText(const std::string& text, const Rect& into, std::uint32_t options,
                          const TextAttributes& attributes) = 0;
};

}  // namespace quillmore::platform
