// As much XML as the property lists and tables in packages are made of: elements, attributes and
// text. Comments, processing instructions and a plain DOCTYPE are passed over; entities other than
// the five of XML itself, and documents that declare any, are refused.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillmore::updatetool {

struct XmlElement {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::string text;  ///< All text directly in it, joined.
    std::vector<XmlElement> children;

    /// The first child of that name, or null.
    const XmlElement* child(std::string_view childName) const;
    /// Empty when there is none.
    std::string attribute(std::string_view attributeName) const;
    /// Text of the first child of that name; empty when there is none.
    std::string textOf(std::string_view childName) const;
};

/// The document's element, or nothing when it is not well-formed, too deep or too large.
std::optional<XmlElement> parseXml(std::string_view text);

}  // namespace quillmore::updatetool
