// The RSA calls are the ones that old and new releases of the library share.
#define OPENSSL_API_COMPAT 0x10100000L

#include "Common/Tools/RsaSignatures.h"

#include <openssl/err.h>
#include <openssl/obj_mac.h>
#include <openssl/rsa.h>

#include <limits>

#include "Common/Tools/RsaKeys.h"

namespace quillmore {

namespace {

using Result = RsaVerification::Result;

int libraryKindOf(const Digest& digest) {
    return digest.kind == DigestKind::sha1 ? NID_sha1 : NID_sha256;
}

/// The key, after which a failed verification reports no older error.
RsaKey keyForVerification(const std::string& text) {
    RsaKey key = readRsaPublicKey(text);
    ERR_clear_error();
    return key;
}

RsaVerification verify(std::span<const std::uint8_t> signature, const RsaKey& key,
                       const Digest& digest) {
    const int valid = RSA_verify(libraryKindOf(digest), digest.bytes.data(),
                                 static_cast<unsigned int>(digest.bytes.size()), signature.data(),
                                 static_cast<unsigned int>(signature.size()), key.get());
    return {valid == 1 ? Result::valid : Result::invalid, ERR_get_error()};
}

std::optional<std::vector<std::uint8_t>> sign(const RsaKey& key, const Digest& digest) {
    std::vector<std::uint8_t> signature(static_cast<std::size_t>(RSA_size(key.get())));
    unsigned int length = 0;
    const int done = RSA_sign(libraryKindOf(digest), digest.bytes.data(),
                              static_cast<unsigned int>(digest.bytes.size()), signature.data(),
                              &length, key.get());
    if (done != 1 || length == 0) return std::nullopt;
    signature.resize(length);
    return signature;
}

bool isTooLong(std::span<const std::uint8_t> signature) {
    return signature.size() > std::numeric_limits<std::int32_t>::max();
}

}  // namespace

std::optional<std::vector<std::uint8_t>> rsaSignature(const std::string& privateKey,
                                                      SignedParts data, DigestKind kind) {
    const RsaKey key = readRsaPrivateKey(privateKey);
    if (key == nullptr) return std::nullopt;
    return sign(key, digestOf(kind, data));
}

std::optional<std::vector<std::uint8_t>> rsaSignature(const std::string& privateKey,
                                                      const Digest& digest) {
    const RsaKey key = readRsaPrivateKey(privateKey);
    if (key == nullptr) return std::nullopt;
    return sign(key, digest);
}

RsaVerification verifyRsaSignature(std::span<const std::uint8_t> signature,
                                   const std::string& publicKey, SignedParts data,
                                   DigestKind kind) {
    if (isTooLong(signature)) return {Result::invalid, 0};
    const RsaKey key = keyForVerification(publicKey);
    if (key == nullptr) return {Result::unusableKey, 0};
    return verify(signature, key, digestOf(kind, data));
}

RsaVerification verifyRsaSignature(std::span<const std::uint8_t> signature,
                                   const std::string& publicKey, const Digest& digest) {
    if (isTooLong(signature)) return {Result::invalid, 0};
    const RsaKey key = keyForVerification(publicKey);
    if (key == nullptr) return {Result::unusableKey, 0};
    return verify(signature, key, digest);
}

}  // namespace quillmore
