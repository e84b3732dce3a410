// The RSA calls are the ones that old and new releases of the library share.
#define OPENSSL_API_COMPAT 0x10100000L

#include "Common/Tools/RsaKeys.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

namespace quillmore {

namespace {

constexpr std::string_view kOpening = "-----BEGIN ";
constexpr std::string_view kPublicKeyOpening = "-----BEGIN PUBLIC KEY-----";
constexpr std::string_view kPublicKeyClosing = "-----END PUBLIC KEY-----";
constexpr std::string_view kEncryptionHeader = "\nProc-Type: 4,ENCRYPTED";

struct Free {
    void operator()(BIO* stream) const { BIO_free(stream); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
using Stream = std::unique_ptr<BIO, Free>;
using Key = std::unique_ptr<EVP_PKEY, Free>;

/// Keys are ASCII text, and so is what stands around them.
bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// Read-only over the text, which must outlive it.
Stream streamOverText(const std::string& text) {
    if (text.size() > std::numeric_limits<int>::max()) return nullptr;
    return Stream(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

/// Answers every question for a pass phrase with a refusal: the library would ask the terminal.
int refusePassPhrase(char*, int, int, void*) {
    return -1;
}

/// Where the first line begins that opens a PEM block, or npos.
std::size_t firstOpening(const std::string& text) {
    std::size_t start = text.find(kOpening);
    while (start != std::string::npos && start != 0 && text[start - 1] != '\n')
        start = text.find(kOpening, start + 1);
    return start;
}

/// The text's first PEM block when that is a public key, else nothing. The library itself passes
/// over blocks that it does not like, and newer releases read the RSA-only form with the same call.
std::string publicKeyBlockOf(const std::string& text) {
    const std::size_t start = firstOpening(text);
    if (start == std::string::npos ||
        text.compare(start, kPublicKeyOpening.size(), kPublicKeyOpening) != 0)
        return "";
    const std::size_t end = text.find(kPublicKeyClosing, start);
    if (end == std::string::npos) return "";
    return text.substr(start, end + kPublicKeyClosing.size() - start) + "\n";
}

/// The library's RSA object also stands for keys that may make signatures of another kind only.
RsaKey plainKey(RsaKey key) {
    const bool plain =
        key != nullptr && RSA_test_flags(key.get(), RSA_FLAG_TYPE_MASK) == RSA_FLAG_TYPE_RSA;
    return plain ? std::move(key) : nullptr;
}

}  // namespace

void FreeRsaKey::operator()(rsa_st* key) const {
    RSA_free(key);
}

RsaKey readRsaPublicKey(const std::string& text) {
    const std::string block = publicKeyBlockOf(text);
    if (block.empty() || !isAscii(text)) return nullptr;
    EVP_PKEY* container = EVP_PKEY_new();
    const Stream stream = streamOverText(block);
    const bool read = container != nullptr && stream != nullptr &&
                      PEM_read_bio_PUBKEY(stream.get(), &container, refusePassPhrase, nullptr);
    const Key owner(container);  // the reader may have put another object in its place
    return read ? plainKey(RsaKey(EVP_PKEY_get1_RSA(owner.get()))) : nullptr;
}

RsaKey readRsaPrivateKey(const std::string& text) {
    const Stream stream = streamOverText(text);
    if (stream == nullptr || !isAscii(text)) return nullptr;
    return plainKey(
        RsaKey(PEM_read_bio_RSAPrivateKey(stream.get(), nullptr, refusePassPhrase, nullptr)));
}

int bitsOf(const RsaKey& key) {
    return RSA_bits(key.get());
}

PrivateKeyText examinePrivateKey(const std::string& text) {
    if (readRsaPrivateKey(text) != nullptr) return PrivateKeyText::usable;
    const std::size_t start = firstOpening(text);
    if (start == std::string::npos) return PrivateKeyText::noKey;
    const std::string opening = text.substr(start, text.find('\n', start) - start);
    if (opening.find("PUBLIC KEY") != std::string::npos) return PrivateKeyText::publicKey;
    if (opening.find("ENCRYPTED") != std::string::npos ||
        text.find(kEncryptionHeader, start) != std::string::npos)
        return PrivateKeyText::encrypted;
    const Stream stream = streamOverText(text);
    const Key other(stream == nullptr ? nullptr
                                      : PEM_read_bio_PrivateKey(stream.get(), nullptr,
                                                                refusePassPhrase, nullptr));
    return other == nullptr ? PrivateKeyText::noKey : PrivateKeyText::otherKind;
}

}  // namespace quillmore
