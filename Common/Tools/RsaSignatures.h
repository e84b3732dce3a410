// RSA PKCS #1 v1.5 signatures over SHA-1, as bare functions: no log, no state, no library but
// libcrypto, so that a privileged program can use them too. Keys are PEM text. Any thread.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quillmore {

/// The data in pieces, which are digested one after the other as if they were one.
using SignedParts = std::initializer_list<std::span<const std::uint8_t>>;

/// As long as the key's modulus. Nothing when the text is no RSA private key without pass phrase.
std::optional<std::vector<std::uint8_t>> rsaSignature(const std::string& privateKey,
                                                      SignedParts data);

struct RsaVerification {
    enum class Result { valid, invalid, unusableKey };
    Result result = Result::invalid;
    /// The library's first error code when `invalid`.
    unsigned long error = 0;
};

/// The key is read in SubjectPublicKeyInfo form only. A signature that is not exactly as long as
/// the modulus, or whose padding is not exactly the one prescribed, is invalid.
RsaVerification verifyRsaSignature(std::span<const std::uint8_t> signature,
                                   const std::string& publicKey, SignedParts data);

}  // namespace quillmore
