// The calls are the ones that old and new releases of the library share.
#define OPENSSL_API_COMPAT 0x10100000L

#include "Common/Tools/Digests.h"

#include <openssl/sha.h>

namespace quillmore {

struct DigestMaker::State {
    DigestKind kind;
    union {
        SHA_CTX sha1;
        SHA256_CTX sha256;
    };
};

DigestMaker::DigestMaker(DigestKind kind) : state_(std::make_unique<State>()) {
    state_->kind = kind;
    kind == DigestKind::sha1 ? SHA1_Init(&state_->sha1) : SHA256_Init(&state_->sha256);
}

DigestMaker::~DigestMaker() = default;
DigestMaker::DigestMaker(DigestMaker&&) noexcept = default;
DigestMaker& DigestMaker::operator=(DigestMaker&&) noexcept = default;

void DigestMaker::add(std::span<const std::uint8_t> piece) {
    if (state_->kind == DigestKind::sha1)
        SHA1_Update(&state_->sha1, piece.data(), piece.size());
    else
        SHA256_Update(&state_->sha256, piece.data(), piece.size());
}

Digest DigestMaker::finish() {
    Digest digest{state_->kind, {}};
    if (digest.kind == DigestKind::sha1) {
        digest.bytes.resize(SHA_DIGEST_LENGTH);
        SHA1_Final(digest.bytes.data(), &state_->sha1);
    } else {
        digest.bytes.resize(SHA256_DIGEST_LENGTH);
        SHA256_Final(digest.bytes.data(), &state_->sha256);
    }
    return digest;
}

Digest digestOf(DigestKind kind, SignedParts data) {
    DigestMaker maker(kind);
    for (const auto part : data) maker.add(part);
    return maker.finish();
}

}  // namespace quillmore
