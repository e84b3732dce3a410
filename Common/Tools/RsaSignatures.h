// RSA PKCS #1 v1.5 signatures, as bare functions: no log, no state, no library but libcrypto, so
// that a privileged program can use them too. Keys are PEM text. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Common/Tools/Digests.h"

namespace quillmore {

/// As long as the key's modulus. Nothing when the text is no RSA private key without pass phrase.
std::optional<std::vector<std::uint8_t>> rsaSignature(const std::string& privateKey,
                                                      SignedParts data,
                                                      DigestKind kind = DigestKind::sha1);
/// The same for data that was digested before.
std::optional<std::vector<std::uint8_t>> rsaSignature(const std::string& privateKey,
                                                      const Digest& digest);

struct RsaVerification {
    enum class Result { valid, invalid, unusableKey };
    Result result = Result::invalid;
    /// The library's first error code when `invalid`.
    unsigned long error = 0;
};

/// The key is read in SubjectPublicKeyInfo form only. A signature that is not exactly as long as
/// the modulus, or whose padding is not exactly the one prescribed, is invalid.
RsaVerification verifyRsaSignature(std::span<const std::uint8_t> signature,
                                   const std::string& publicKey, SignedParts data,
                                   DigestKind kind = DigestKind::sha1);
/// The same for data that was digested before.
RsaVerification verifyRsaSignature(std::span<const std::uint8_t> signature,
                                   const std::string& publicKey, const Digest& digest);

}  // namespace quillmore
