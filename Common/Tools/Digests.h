// SHA-1 and SHA-256 of data that may come in pieces. Any thread; a maker belongs to one at a time.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <vector>

namespace quillmore {

enum class DigestKind { sha1, sha256 };

struct Digest {
    DigestKind kind;
    std::vector<std::uint8_t> bytes;
};

/// The data in pieces, which are digested one after the other as if they were one.
using SignedParts = std::initializer_list<std::span<const std::uint8_t>>;

class DigestMaker {
public:
    explicit DigestMaker(DigestKind kind);
    ~DigestMaker();
    DigestMaker(DigestMaker&&) noexcept;
    DigestMaker& operator=(DigestMaker&&) noexcept;

    void add(std::span<const std::uint8_t> piece);
    /// Of all that was added. Call once, at the end.
    Digest finish();

private:
    struct State;
    std::unique_ptr<State> state_;
};

Digest digestOf(DigestKind kind, SignedParts data);

}  // namespace quillmore
