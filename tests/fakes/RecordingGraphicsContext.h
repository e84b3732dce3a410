// GraphicsContext double: one line a call, in order.
#pragma once

#include <string>
#include <vector>

#include "Platform/Interface/Graphics.h"
#include "Platform/Values/Format.h"

namespace quillmore::tests {

class RecordingGraphicsContext final : public platform::GraphicsContext {
public:
    std::vector<std::string> calls;

    void lockFocus() override { calls.emplace_back("lockFocus"); }
    void unlockFocus() override { calls.emplace_back("unlockFocus"); }
    void fillRect(const platform::Rect& rect, platform::Color color) override {
        calls.push_back("fill " + text(rect) + " " + text(color));
    }
    void drawImage(const platform::Image& image, const platform::Rect& into) override {
        calls.push_back("image " + image.path().substr(image.path().rfind('/') + 1) + " " +
                        text(into));
    }
    void drawText(const std::string& string, const platform::Point& at,
                  const platform::TextAttributes& attributes) override {
        calls.push_back(
            platform::format("text \"%@\" at %g %g %@", string, at.x, at.y, text(attributes)));
    }
    void drawText(const std::string& string, const platform::Rect& into, std::uint32_t options,
                  const platform::TextAttributes& attributes) override {
        calls.push_back(platform::format("text \"%@\" in %@ options %u %@", string, text(into),
                                         options, text(attributes)));
    }

private:
    static std::string text(const platform::Rect& rect) {
        return platform::format("%g %g %g %g", rect.x, rect.y, rect.width, rect.height);
    }
    static std::string text(platform::Color color) {
        switch (color) {
            case platform::Color::white:
                return "white";
            case platform::Color::black:
                return "black";
            case platform::Color::darkGray:
                break;
        }
        return "darkGray";
    }
    static std::string text(const platform::TextAttributes& attributes) {
        return platform::format("%@ %@ %d %g %@", attributes.font.family,
                                attributes.font.bold ? "bold" : "plain", attributes.font.weight,
                                attributes.font.size, text(attributes.foreground));
    }
};

}  // namespace quillmore::tests
