#include "UpdateTool/Packages/Xml.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

namespace quillmore::updatetool {

namespace {

constexpr int kMaximumDepth = 64;
constexpr std::size_t kMaximumElements = 200'000;
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
constexpr std::array<std::pair<std::string_view, char>, 5> kEntities = {
    {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}}};

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
bool isNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.' || c == ':' || static_cast<unsigned char>(c) >= 0x80;
}

void appendUtf8(std::string& text, std::uint32_t code) {
    const auto append = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
    if (code < 0x80) {
        append(code);
    } else if (code < 0x800) {
        append(0xc0 | code >> 6);
        append(0x80 | (code & 0x3f));
    } else if (code < 0x10000) {
        append(0xe0 | code >> 12);
        append(0x80 | (code >> 6 & 0x3f));
        append(0x80 | (code & 0x3f));
    } else {
        append(0xf0 | code >> 18);
        append(0x80 | (code >> 12 & 0x3f));
        append(0x80 | (code >> 6 & 0x3f));
        append(0x80 | (code & 0x3f));
    }
}

/// Reads forwards; once something does not fit, `failed` stays set and nothing more is read.
class Parser {
public:
    explicit Parser(std::string_view text) : rest_(text) {
        if (rest_.starts_with(kByteOrderMark)) rest_.remove_prefix(kByteOrderMark.size());
    }

    std::optional<XmlElement> document() {
        skipMisc();
        XmlElement root;
        if (!take("<") || !element(root, 0)) return std::nullopt;
        skipMisc();
        return failed_ || !rest_.empty() ? std::nullopt : std::optional(std::move(root));
    }

private:
    bool take(std::string_view expected) {
        if (failed_ || !rest_.starts_with(expected)) return false;
        rest_.remove_prefix(expected.size());
        return true;
    }
    void skipSpace() {
        while (!rest_.empty() && isSpace(rest_.front())) rest_.remove_prefix(1);
    }
    /// The text before the mark, which is passed over.
    std::string_view upTo(std::string_view mark) {
        const std::size_t end = rest_.find(mark);
        if (end == std::string_view::npos) {
            failed_ = true;
            return {};
        }
        const std::string_view text = rest_.substr(0, end);
        rest_.remove_prefix(end + mark.size());
        return text;
    }
    /// Comments and processing instructions; false at anything else.
    bool skipOne() {
        if (take("<!--")) {
            upTo("-->");
        } else if (take("<?")) {
            upTo("?>");
        } else {
            return false;
        }
        return !failed_;
    }
    void skipMisc() {
        for (;;) {
            skipSpace();
            if (skipOne()) continue;
            if (!take("<!DOCTYPE")) return;
            // With "[" it would declare something of its own.
            if (upTo(">").find('[') != std::string_view::npos) failed_ = true;
        }
    }
    bool name(std::string& result) {
        std::size_t length = 0;
        while (length < rest_.size() && isNameCharacter(rest_[length])) ++length;
        result = rest_.substr(0, length);
        rest_.remove_prefix(length);
        return length > 0;
    }
    bool appendEntity(std::string& text, std::string_view entity) {
        for (const auto& [known, character] : kEntities) {
            if (entity != known) continue;
            text += character;
            return true;
        }
        if (!entity.starts_with('#')) return false;
        const bool hexadecimal = entity.starts_with("#x");
        entity.remove_prefix(hexadecimal ? 2 : 1);
        std::uint32_t code = 0;
        const auto [end, error] = std::from_chars(entity.data(), entity.data() + entity.size(),
                                                  code, hexadecimal ? 16 : 10);
        if (error != std::errc{} || end != entity.data() + entity.size() || code == 0 ||
            code > 0x10ffff || (code >= 0xd800 && code < 0xe000))
            return false;
        appendUtf8(text, code);
        return true;
    }
    bool appendUnescaped(std::string& text, std::string_view raw) {
        while (!raw.empty()) {
            const std::size_t plain = std::min(raw.find('&'), raw.size());
            text += raw.substr(0, plain);
            raw.remove_prefix(plain);
            if (raw.empty()) break;
            const std::size_t end = raw.find(';');
            if (end == std::string_view::npos || !appendEntity(text, raw.substr(1, end - 1)))
                return false;
            raw.remove_prefix(end + 1);
        }
        return true;
    }
    bool attribute(XmlElement& element) {
        std::string key, value;
        if (!name(key)) return false;
        skipSpace();
        if (!take("=")) return false;
        skipSpace();
        const bool single = rest_.starts_with('\'');
        if (!take(single ? "'" : "\"")) return false;
        const std::string_view raw = upTo(single ? "'" : "\"");
        if (failed_ || raw.find('<') != std::string_view::npos || !appendUnescaped(value, raw))
            return false;
        element.attributes.emplace_back(std::move(key), std::move(value));
        return true;
    }
    /// After "<".
    bool element(XmlElement& element, int depth) {
        if (depth > kMaximumDepth || ++elements_ > kMaximumElements || !name(element.name))
            return false;
        for (;;) {
            skipSpace();
            if (take("/>")) return true;
            if (take(">")) return contents(element, depth);
            if (!attribute(element)) return false;
        }
    }
    bool contents(XmlElement& element, int depth) {
        for (;;) {
            const std::size_t plain = std::min(rest_.find('<'), rest_.size());
            if (!appendUnescaped(element.text, rest_.substr(0, plain))) return false;
            rest_.remove_prefix(plain);
            if (take("</")) return end(element);
            if (take("<![CDATA[")) {
                element.text += upTo("]]>");
            } else if (!skipOne()) {
                if (!take("<")) return false;
                element.children.emplace_back();
                if (!this->element(element.children.back(), depth + 1)) return false;
            }
            if (failed_) return false;
        }
    }
    bool end(const XmlElement& element) {
        std::string closed;
        if (!name(closed) || closed != element.name) return false;
        skipSpace();
        return take(">");
    }

    std::string_view rest_;
    std::size_t elements_ = 0;
    bool failed_ = false;
};

}  // namespace

const XmlElement* XmlElement::child(std::string_view childName) const {
    for (const XmlElement& each : children)
        if (each.name == childName) return &each;
    return nullptr;
}

std::string XmlElement::attribute(std::string_view attributeName) const {
    for (const auto& [key, value] : attributes)
        if (key == attributeName) return value;
    return "";
}

std::string XmlElement::textOf(std::string_view childName) const {
    const XmlElement* found = child(childName);
    return found == nullptr ? "" : found->text;
}

std::optional<XmlElement> parseXml(std::string_view text) {
    return Parser(text).document();
}

}  // namespace quillmore::updatetool
