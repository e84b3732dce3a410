// Signatures over packages: raw RSA PKCS #1 v1.5 over SHA-1, as long as the key's modulus, without
// header or encoding. Keys are PEM text that the caller supplies. No state; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "Platform/Values/Value.h"

namespace quillmore {

class SignatureManager {
public:
    static SignatureManager& sharedManager();

    /// `generateSignature:forData:` Signs with an RSA private key that has no pass phrase. Nothing
    /// when the key or the data is empty or the key cannot be used.
    std::optional<platform::Data> generateSignature(const std::string& privateKey,
                                                    std::span<const std::uint8_t> forData) const;

    /// `verifySignature:publicKey:forData:` True only for a valid signature under the key
    /// (SubjectPublicKeyInfo form). Empty arguments and keys that cannot be read are false without
    /// a log line; a signature that does not fit is false with one.
    bool verifySignature(std::span<const std::uint8_t> signature, const std::string& publicKey,
                         std::span<const std::uint8_t> forData) const;
};

}  // namespace quillmore
