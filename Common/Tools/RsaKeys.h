// RSA keys from PEM text. No pass phrase is ever asked for. Nothing is kept; any thread.
#pragma once

#include <memory>
#include <string>

struct rsa_st;  // the library's key

namespace quillmore {

struct FreeRsaKey {
    void operator()(rsa_st* key) const;
};
using RsaKey = std::unique_ptr<rsa_st, FreeRsaKey>;

/// Null unless the first PEM block of the text is a public key in SubjectPublicKeyInfo form, of an
/// RSA key. A key for RSA-PSS only is none.
RsaKey readRsaPublicKey(const std::string& text);
/// Null when the text is no RSA private key without pass phrase.
RsaKey readRsaPrivateKey(const std::string& text);

/// Shorter keys can be broken, or soon will be.
inline constexpr int kShortestSafeKey = 2048;
/// The length of the modulus in bits.
int bitsOf(const RsaKey& key);

/// What stands where an RSA private key should.
enum class PrivateKeyText { usable, encrypted, publicKey, otherKind, noKey };
PrivateKeyText examinePrivateKey(const std::string& text);

}  // namespace quillmore
