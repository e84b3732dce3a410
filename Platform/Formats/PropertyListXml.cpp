#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <pugixml.hpp>

#include "Platform/Formats/PropertyList+Formats.h"
#include "Platform/Formats/PropertyList.h"
#include "Platform/Values/Base64.h"
#include "Platform/Values/DateText.h"
#include "Platform/Values/NumberText.h"
#include "Platform/Values/Text.h"
#include "Platform/Values/TextEncoding.h"

namespace quillmore::platform {

namespace {

// White space counts (a string may be all blanks), and text outside the root must be seen to be
// refused. Entities are decoded here, because pugixml passes over unknown ones in silence. Embedded
// text saves a node for every scalar.
constexpr unsigned kParseOptions = pugi::parse_cdata | pugi::parse_eol | pugi::parse_ws_pcdata |
                                   pugi::parse_embed_pcdata | pugi::parse_fragment;

/// A key of a megabyte would drown what is wrong with it.
constexpr std::size_t kMaximumFaultLength = 200;

bool isBlank(std::string_view text) {
    return trimmed(text).empty();
}

std::optional<char32_t> namedEntity(std::string_view name) {
    if (name == "lt") return U'<';
    if (name == "gt") return U'>';
    if (name == "amp") return U'&';
    if (name == "quot") return U'"';
    if (name == "apos") return U'\'';
    return std::nullopt;
}

/// The name without "&" and ";".
std::optional<char32_t> entity(std::string_view name) {
    if (!name.starts_with('#')) return namedEntity(name);
    name.remove_prefix(1);
    const int base = name.starts_with('x') ? 16 : 10;
    if (base == 16) name.remove_prefix(1);
    std::uint32_t value = 0;
    const auto outcome = std::from_chars(name.data(), name.data() + name.size(), value, base);
    if (outcome.ec != std::errc() || outcome.ptr != name.data() + name.size()) return std::nullopt;
    if (value == 0 || value > 0x10FFFF || isHighSurrogate(value) || isLowSurrogate(value)) {
        return std::nullopt;
    }
    return value;
}

/// Decimal or "0x" hexadecimal, with a sign. What 64 bits cannot hold saturates.
std::optional<std::int64_t> integerFromText(std::string_view text) {
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) text.remove_prefix(1);
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (isHexadecimal) text.remove_prefix(2);
    std::uint64_t magnitude = 0;
    const auto outcome =
        std::from_chars(text.data(), text.data() + text.size(), magnitude, isHexadecimal ? 16 : 10);
    if (outcome.ec == std::errc::invalid_argument) return std::nullopt;
    if (outcome.ptr != text.data() + text.size()) return std::nullopt;
    if (outcome.ec == std::errc::result_out_of_range) {
        magnitude = std::numeric_limits<std::uint64_t>::max();
    }
    constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
    if (isNegative && magnitude > largest) return std::numeric_limits<std::int64_t>::min();
    const auto value = static_cast<std::int64_t>(std::min(magnitude, largest));
    return isNegative ? -value : value;
}

/// Turns the elements of one document into a value; the first fault ends it. Recursion is bounded
/// by `kMaximumPropertyListDepth`.
class XmlReader {
public:
    explicit XmlReader(std::string_view text) : text_(text) {}

    Result<Value> read() {
        pugi::xml_document document;
        const auto outcome =
            document.load_buffer(text_.data(), text_.size(), kParseOptions, pugi::encoding_utf8);
        if (!outcome) return errorAt(outcome.offset, outcome.description());
        Value value;
        if (!readDocument(document, value)) return errorAt(faultOffset_, fault_);
        return value;
    }

private:
    Error errorAt(std::ptrdiff_t offset, std::string_view fault) const {
        const auto end = std::clamp<std::ptrdiff_t>(offset, 0, std::ssize(text_));
        const auto line = std::count(text_.begin(), text_.begin() + end, '\n') + 1;
        return Error::file("the property list is damaged in line " + std::to_string(line) + ": " +
                           std::string(fault));
    }

    bool fail(pugi::xml_node node, std::string_view fault) {
        faultOffset_ = node.offset_debug();
        fault_ = utf8Prefix(fault, kMaximumFaultLength);
        return false;
    }

    /// Calls `take` with each element inside; text between them must be blank.
    template <class Take>
    bool eachElement(pugi::xml_node parent, Take take) {
        if (!isBlank(parent.value())) return fail(parent, "text where an element is expected");
        for (const pugi::xml_node child : parent.children()) {
            if (child.type() == pugi::node_element) {
                if (!take(child)) return false;
            } else if (!isBlank(child.value())) {
                return fail(child, "text where an element is expected");
            }
        }
        return true;
    }

    bool readDocument(pugi::xml_node document, Value& value) {
        pugi::xml_node root;
        const bool isSound = eachElement(document, [&](pugi::xml_node child) {
            if (root) return fail(child, "a second root element");
            if (child.name() != std::string_view("plist")) {
                return fail(child, std::string("the root element is <") + child.name() +
                                       "> instead of <plist>");
            }
            root = child;
            return true;
        });
        if (!isSound) return false;
        if (!root) return fail(document, "there is no <plist> element");
        bool isFound = false;
        const auto takeValue = [&](pugi::xml_node child) {
            if (isFound) return fail(child, "more than one value in <plist>");
            isFound = true;
            return readValue(child, value, 1);
        };
        if (!eachElement(root, takeValue)) return false;
        return isFound || fail(root, "no value in <plist>");
    }

    bool readValue(pugi::xml_node node, Value& value, int depth) {
        const std::string_view name = node.name();
        if (name == "string") {
            std::string text;
            if (!readText(node, text)) return false;
            value = std::move(text);
            return true;
        }
        if (name == "dict" || name == "array") {
            if (depth > kMaximumPropertyListDepth) return fail(node, "too many nested containers");
            return name == "dict" ? readDictionary(node, value, depth)
                                  : readArray(node, value, depth);
        }
        return readScalar(node, name, value);
    }

    bool readDictionary(pugi::xml_node node, Value& value, int depth) {
        Dictionary dictionary;
        std::string key;
        bool hasKey = false;
        const auto take = [&](pugi::xml_node child) {
            const bool isKey = child.name() == std::string_view("key");
            if (isKey && hasKey) return fail(child, "no value for the key \"" + key + "\"");
            if (!isKey && !hasKey) return fail(child, "a value without a key in <dict>");
            hasKey = isKey;
            if (isKey) {
                key.clear();
                return readText(child, key);
            }
            Value entry;
            if (!readValue(child, entry, depth + 1)) return false;
            dictionary.insert_or_assign(key, std::move(entry));
            return true;
        };
        if (!eachElement(node, take)) return false;
        if (hasKey) return fail(node, "no value for the key \"" + key + "\"");
        value = std::move(dictionary);
        return true;
    }

    bool readArray(pugi::xml_node node, Value& value, int depth) {
        Array array;
        const auto take = [&](pugi::xml_node child) {
            return readValue(child, array.emplace_back(), depth + 1);
        };
        if (!eachElement(node, take)) return false;
        value = std::move(array);
        return true;
    }

    bool readScalar(pugi::xml_node node, std::string_view name, Value& value) {
        std::string text;
        if (!readText(node, text)) return false;
        std::optional<Value> scalar;
        if (name == "true" || name == "false") {
            if (isBlank(text)) scalar = Value(name == "true");
        } else if (name == "integer") {
            if (const auto integer = integerFromText(trimmed(text))) scalar = Value(*integer);
        } else if (name == "real") {
            if (const auto real = doubleFromText(trimmed(text))) scalar = Value(*real);
        } else if (name == "date") {
            if (const auto date = dateFromText(trimmed(text))) scalar = Value(*date);
        } else if (name == "data") {
            if (auto data = dataFromBase64(text)) scalar = Value(*std::move(data));
        } else {
            return fail(node, "unknown element <" + std::string(name) + ">");
        }
        if (!scalar) return fail(node, "invalid text in <" + std::string(name) + ">");
        value = *std::move(scalar);
        return true;
    }

    bool readText(pugi::xml_node node, std::string& text) {
        if (!appendDecoded(node, node.value(), text)) return false;
        for (const pugi::xml_node child : node.children()) {
            if (child.type() == pugi::node_element) {
                return fail(child, std::string("an element inside <") + node.name() + ">");
            }
            if (child.type() == pugi::node_cdata) {
                text += child.value();
            } else if (!appendDecoded(child, child.value(), text)) {
                return false;
            }
        }
        return true;
    }

    bool appendDecoded(pugi::xml_node node, std::string_view raw, std::string& text) {
        for (;;) {
            const std::size_t start = std::min(raw.find('&'), raw.size());
            text += raw.substr(0, start);
            raw.remove_prefix(start);
            if (raw.empty()) return true;
            const std::size_t end = raw.find(';');
            const auto name = raw.substr(0, end).substr(1);
            const auto codePoint = end == std::string_view::npos ? std::nullopt : entity(name);
            if (!codePoint) return fail(node, "an entity that is not known");
            appendUtf8(text, *codePoint);
            raw.remove_prefix(end + 1);
        }
    }

    std::string_view text_;
    std::ptrdiff_t faultOffset_ = 0;
    std::string fault_;
};

}  // namespace

Result<Value> parseXmlPropertyList(std::string_view bytes) {
    std::string storage;
    const auto text = textOfFile(bytes, storage);
    if (!text) return Error::file("the property list is not UTF-8 text");
    // pugixml would take a zero byte for the end of the text.
    if (text->find('\0') != std::string_view::npos) {
        return Error::file("the property list contains a zero character");
    }
    // Counted before any of them becomes a node of a document: a value has one or two tags.
    if (static_cast<std::size_t>(std::count(text->begin(), text->end(), '<')) >
        2 * kMaximumPropertyListValues) {
        return Error::file("the property list has too many values");
    }
    return XmlReader(*text).read();
}

}  // namespace quillmore::platform
