// One RSA key pair for all tests of a process, made at run time, in every PEM form that they need.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace quillmore::tests {

struct TestKeys {
    std::string privateKey;
    std::string encryptedPrivateKey;  ///< With a pass phrase.
    std::string publicKey;            ///< SubjectPublicKeyInfo.
    std::string rsaOnlyPublicKey;     ///< "BEGIN RSA PUBLIC KEY".
    std::string ellipticPublicKey;    ///< SubjectPublicKeyInfo, but of another kind of key.
    std::string ellipticPrivateKey;
    std::string pssPrivateKey;  ///< RSA for PSS signatures only.
    std::string pssPublicKey;
};
const TestKeys& testKeys();

/// A key pair of that many bits, made anew.
struct RsaPair {
    std::string privateKey;
    std::string publicKey;
};
RsaPair makeRsaPair(unsigned int bits);
/// A pair for PSS signatures only, one for all tests of a process.
const RsaPair& pssPair();

/// What the library's own one-call interface makes of the data with PKCS #1 v1.5.
std::vector<std::uint8_t> signatureByTheLibrary(const std::string& privateKey,
                                                const std::string& data,
                                                const char* digest = "SHA1");

inline std::span<const std::uint8_t> bytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace quillmore::tests
