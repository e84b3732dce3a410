// The RSA calls are the ones that old and new releases of the library share.
#define OPENSSL_API_COMPAT 0x10100000L

#include "Common/Tools/RsaSignatures.h"

#include <openssl/err.h>
#include <openssl/obj_mac.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>

#include <array>
#include <limits>

#include "Common/Tools/RsaKeys.h"

namespace quillmore {

namespace {

using Digest = std::array<std::uint8_t, SHA_DIGEST_LENGTH>;

Digest digestOf(SignedParts data) {
    Digest digest;
    SHA_CTX context;
    SHA1_Init(&context);
    for (const auto part : data) SHA1_Update(&context, part.data(), part.size());
    SHA1_Final(digest.data(), &context);
    return digest;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> rsaSignature(const std::string& privateKey,
                                                      SignedParts data) {
    const RsaKey key = readRsaPrivateKey(privateKey);
    if (key == nullptr) return std::nullopt;

    const Digest digest = digestOf(data);
    std::vector<std::uint8_t> signature(static_cast<std::size_t>(RSA_size(key.get())));
    unsigned int length = 0;
    const int done = RSA_sign(NID_sha1, digest.data(), static_cast<unsigned int>(digest.size()),
                              signature.data(), &length, key.get());
    if (done != 1 || length == 0) return std::nullopt;
    signature.resize(length);
    return signature;
}

RsaVerification verifyRsaSignature(std::span<const std::uint8_t> signature,
                                   const std::string& publicKey, SignedParts data) {
    using Result = RsaVerification::Result;
    if (signature.size() > std::numeric_limits<std::int32_t>::max()) return {Result::invalid, 0};
    const RsaKey key = readRsaPublicKey(publicKey);
    ERR_clear_error();  // or a failed verification would report an older error
    if (key == nullptr) return {Result::unusableKey, 0};
    const Digest digest = digestOf(data);
    const int valid =
        RSA_verify(NID_sha1, digest.data(), static_cast<unsigned int>(digest.size()),
                   signature.data(), static_cast<unsigned int>(signature.size()), key.get());
    return {valid == 1 ? Result::valid : Result::invalid, ERR_get_error()};
}

}  // namespace quillmore
