#include "UpdateTool/Packages/Signatures.h"

#include "Common/Tools/RsaKeys.h"
#include "Common/Tools/RsaSignatures.h"
#include "UpdateTool/Ground/Failure.h"
#include "UpdateTool/Packages/PackageLabel.h"

namespace quillmore::updatetool {

namespace {

std::span<const std::uint8_t> bytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace

void requireBuiltInKey(const std::string& publicKey) {
    const RsaKey key = readRsaPublicKey(publicKey);
    if (key == nullptr)
        fail(EX_CONFIG, "the public key that was built into this program cannot be used");
    if (bitsOf(key) < kShortestSafeKey)
        fail(EX_CONFIG, "the public key that was built into this program has " +
                            std::to_string(bitsOf(key)) + " bits, which is not safe: it needs " +
                            std::to_string(kShortestSafeKey));
}

std::vector<Digest> digestsOf(const std::vector<DigestKind>& kinds, const Purpose& purpose,
                              const GivePieces& give) {
    const std::string label = packageLabel(purpose.command, purpose.name);
    std::vector<DigestMaker> makers;
    for (const DigestKind kind : kinds) makers.emplace_back(kind).add(bytesOf(label));
    give([&](std::span<const std::uint8_t> piece) {
        for (DigestMaker& maker : makers) maker.add(piece);
    });
    std::vector<Digest> digests;
    digests.reserve(makers.size());
    for (DigestMaker& maker : makers) digests.push_back(maker.finish());
    return digests;
}

const SignatureFile* findMismatch(const Signatures& signatures, const std::string& publicKey,
                                  const Purpose& purpose, const GivePieces& give) {
    const auto bits = static_cast<std::size_t>(bitsOf(readRsaPublicKey(publicKey)));
    std::vector<DigestKind> kinds;
    for (const SignatureFile& signature : signatures) {
        if (signature.bytes.size() != (bits + 7) / 8) return &signature;
        kinds.push_back(signature.kind);
    }
    const std::vector<Digest> digests = digestsOf(kinds, purpose, give);
    for (std::size_t index = 0; index < signatures.size(); ++index) {
        const auto verification =
            verifyRsaSignature(signatures[index].bytes, publicKey, digests[index]);
        if (verification.result != RsaVerification::Result::valid) return &signatures[index];
    }
    return nullptr;
}

}  // namespace quillmore::updatetool
