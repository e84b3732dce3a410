// The RSA calls are the ones that old and new releases of the library share.
#define OPENSSL_API_COMPAT 0x10100000L

#include "Common/Tools/RsaSignatures.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>

namespace quillmore {

namespace {

constexpr const char* kPublicKeyOpening = "-----BEGIN PUBLIC KEY-----";

struct Free {
    void operator()(BIO* stream) const { BIO_free(stream); }
    void operator()(RSA* key) const { RSA_free(key); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
using Stream = std::unique_ptr<BIO, Free>;
using RsaKey = std::unique_ptr<RSA, Free>;
using Key = std::unique_ptr<EVP_PKEY, Free>;
using Digest = std::array<std::uint8_t, SHA_DIGEST_LENGTH>;

/// Read-only over the text, which must outlive it. Null for text that ASCII cannot hold.
Stream streamOverText(const std::string& text) {
    const bool ascii = std::all_of(text.begin(), text.end(),
                                   [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (!ascii || text.size() > std::numeric_limits<int>::max()) return nullptr;
    return Stream(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

/// Answers every question for a pass phrase with a refusal: the library would ask the terminal.
int refusePassPhrase(char*, int, int, void*) {
    return -1;
}

Digest digestOf(SignedParts data) {
    Digest digest;
    SHA_CTX context;
    SHA1_Init(&context);
    for (const auto part : data) SHA1_Update(&context, part.data(), part.size());
    SHA1_Final(digest.data(), &context);
    return digest;
}

/// Null when the text is no public key in SubjectPublicKeyInfo form, or not of an RSA key.
RsaKey readPublicKey(const std::string& text) {
    // Newer releases of the library read the RSA-only form with the same call; it is not ours.
    if (text.find(kPublicKeyOpening) == std::string::npos) return nullptr;
    EVP_PKEY* container = EVP_PKEY_new();
    const Stream stream = streamOverText(text);
    const bool read = container != nullptr && stream != nullptr &&
                      PEM_read_bio_PUBKEY(stream.get(), &container, refusePassPhrase, nullptr);
    const Key owner(container);  // the reader may have put another object in its place
    return read ? RsaKey(EVP_PKEY_get1_RSA(owner.get())) : nullptr;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> rsaSignature(const std::string& privateKey,
                                                      SignedParts data) {
    const Stream stream = streamOverText(privateKey);
    if (stream == nullptr) return std::nullopt;
    const RsaKey key(PEM_read_bio_RSAPrivateKey(stream.get(), nullptr, refusePassPhrase, nullptr));
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
    const RsaKey key = readPublicKey(publicKey);
    ERR_clear_error();  // or a failed verification would report an older error
    if (key == nullptr) return {Result::unusableKey, 0};
    const Digest digest = digestOf(data);
    const int valid =
        RSA_verify(NID_sha1, digest.data(), static_cast<unsigned int>(digest.size()),
                   signature.data(), static_cast<unsigned int>(signature.size()), key.get());
    return {valid == 1 ? Result::valid : Result::invalid, ERR_get_error()};
}

}  // namespace quillmore
