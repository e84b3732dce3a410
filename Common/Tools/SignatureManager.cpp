#include "Common/Tools/SignatureManager.h"

#include <openssl/err.h>

#include <array>

#include "Common/Tools/RsaSignatures.h"
#include "Common/utils/Logging.h"
#include "Platform/Threads/SharedInstance.h"

namespace quillmore {

namespace {

void logVerifyFailure(unsigned long error) {
    std::array<char, 256> text{};
    ERR_error_string_n(error, text.data(), text.size());
    logError("Signature verify failed (error %i, %s)", static_cast<std::int32_t>(error),
             static_cast<const char*>(text.data()));
}

platform::SharedInstance<SignatureManager> shared;

}  // namespace

SignatureManager& SignatureManager::sharedManager() {
    return shared.get();
}

std::optional<platform::Data> SignatureManager::generateSignature(
    const std::string& privateKey, std::span<const std::uint8_t> forData) const {
    if (privateKey.empty() || forData.empty()) return std::nullopt;
    auto bytes = rsaSignature(privateKey, {forData});
    if (!bytes) return std::nullopt;
    platform::Data signature{std::move(*bytes)};
    logVerbose("Generated signature \"%@\"", platform::Value(signature));
    return signature;
}

bool SignatureManager::verifySignature(std::span<const std::uint8_t> signature,
                                       const std::string& publicKey,
                                       std::span<const std::uint8_t> forData) const {
    if (signature.empty() || publicKey.empty() || forData.empty()) return false;
    const RsaVerification verification = verifyRsaSignature(signature, publicKey, {forData});
    switch (verification.result) {
        case RsaVerification::Result::valid:
            logVerbose("Signature verified");
            return true;
        case RsaVerification::Result::invalid:
            logVerifyFailure(verification.error);
            return false;
        case RsaVerification::Result::unusableKey:
            return false;
    }
    return false;
}

}  // namespace quillmore
