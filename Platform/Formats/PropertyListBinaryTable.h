// The object table of a binary property list, and the check that it is sound. Internal to
// PropertyList; refers to the bytes it was made of.
//
// A file is: "bplist0?", the objects, a table of their offsets, and a trailer of 32 bytes that says
// how wide offsets and references are, how many objects there are, which is the top one and where
// the table lies; all numbers are big-endian. An object is a marker byte (kind above, count below;
// a count of 15 stands for an integer object that follows), then its content.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillmore::platform {

enum class BinaryKind { constant, integer, real, date, data, ascii, utf16, array, dictionary };

struct BinaryObject {
    BinaryKind kind = BinaryKind::constant;
    /// Bytes of data and ASCII text, units of UTF-16, elements of an array, pairs of a dictionary.
    std::uint64_t count = 0;
    /// Numbers, text and data; the references of a container, of a dictionary all keys first.
    std::string_view content;
};

/// Wide numbers keep their last eight bytes.
std::uint64_t bigEndianNumber(std::string_view bytes);
/// Up to eight bytes; the longest form (16 bytes) is signed and saturates. As in every reader of
/// the format the forms of 1, 2 and 4 bytes have no sign, that of 8 has one.
std::int64_t binaryInteger(std::string_view content);
double binaryReal(std::string_view content);

class BinaryObjectTable {
public:
    /// Nothing when the trailer does not fit the file.
    static std::optional<BinaryObjectTable> open(std::string_view bytes);

    std::uint64_t topObject() const { return topObject_; }
    /// Nothing when the object lies outside the file or is of a kind that settings cannot have.
    std::optional<BinaryObject> object(std::uint64_t number) const;
    /// The `index`th reference of a container, which `object` has found to be within the file.
    std::uint64_t reference(const BinaryObject& container, std::uint64_t index) const;

private:
    bool takeCount(std::string_view& rest, std::uint64_t& count) const;

    std::string_view objects_;  ///< With the "bplist0?" at the front, so offsets count from it.
    std::string_view offsets_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t topObject_ = 0;
};

/// Follows every reference from the top object: what is wrong, or nothing. A list that passes has
/// no cycle, is no deeper than `kMaximumPropertyListDepth` and stays within bounds when written out
/// with shared objects repeated, which is what libplist does.
std::optional<std::string> faultOf(const BinaryObjectTable& table);

}  // namespace quillmore::platform
