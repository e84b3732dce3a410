// The object table of a binary property list: finds its objects, none of which reaches beyond the
// file. Refers to the bytes it was made of. Uses nothing but the language: the update tool reads
// hostile files through it.
//
// A file is: "bplist00", the objects, a table of their offsets, and a trailer of 32 bytes that says
// how wide offsets and references are, how many objects there are, which is the top one and where
// the table lies; all numbers are big-endian. An object is a marker byte (kind above, count below;
// a count of 15 stands for an integer object that follows), then its content.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quillmore::platform {

enum class BinaryKind { boolean, integer, real, date, data, ascii, utf16, array, dictionary };

struct BinaryObject {
    BinaryKind kind = BinaryKind::boolean;
    /// Bytes of numbers, data and ASCII text, units of UTF-16, elements of an array, pairs of a
    /// dictionary; of a boolean whether it is true.
    std::uint64_t count = 0;
    /// Numbers, text and data; the references of a container, of a dictionary all keys first.
    std::string_view content;
};

/// Wide numbers keep their last eight bytes.
std::uint64_t bigEndianNumber(std::string_view bytes);

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

    std::string_view objects_;  ///< With the "bplist00" at the front, so offsets count from it.
    std::string_view offsets_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t topObject_ = 0;
};

}  // namespace quillmore::platform
