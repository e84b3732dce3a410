// The signature files of a package and what they say: the one that is named, over SHA-1, and beside
// it a second one over SHA-256 (PackageLabel.h has its name).
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "Common/Tools/Digests.h"
#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// What a package is signed for: see PackageLabel.h.
struct Purpose {
    std::string command;
    std::string name;
};

struct SignatureFile {
    DigestKind kind;
    std::string path;
    Bytes bytes;
};
using Signatures = std::vector<SignatureFile>;

inline constexpr std::uint64_t kMaximumSignatureSize = 16 * 1024;

/// Fails (EX_CONFIG) for a built-in key that is unusable or shorter than is safe.
void requireBuiltInKey(const std::string& publicKey);

/// Gives a package's bytes to whoever takes them, piece by piece.
using GivePieces =
    std::function<void(const std::function<void(std::span<const std::uint8_t>)>& take)>;

/// The digests of the purpose's label and the bytes after it, one a kind.
std::vector<Digest> digestsOf(const std::vector<DigestKind>& kinds, const Purpose& purpose,
                              const GivePieces& give);

/// The first signature that is not the key's for this purpose and these bytes; null when all are.
/// Bytes are asked for only when each could be the key's by its length. The key must be usable.
const SignatureFile* findMismatch(const Signatures& signatures, const std::string& publicKey,
                                  const Purpose& purpose, const GivePieces& give);

}  // namespace quillmore::updatetool
