// The RSA calls are the ones that old and new releases of the library share.
#define OPENSSL_API_COMPAT 0x10100000L

#include "Common/Tools/RsaKeys.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <limits>

namespace quillmore {

namespace {

constexpr const char* kPublicKeyOpening = "-----BEGIN PUBLIC KEY-----";

struct Free {
    void operator()(BIO* stream) const { BIO_free(stream); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
using Stream = std::unique_ptr<BIO, Free>;
using Key = std::unique_ptr<EVP_PKEY, Free>;

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

}  // namespace

void FreeRsaKey::operator()(rsa_st* key) const {
    RSA_free(key);
}

RsaKey readRsaPublicKey(const std::string& text) {
    // Newer releases of the library read the RSA-only form with the same call; it is not ours.
    if (text.find(kPublicKeyOpening) == std::string::npos) return nullptr;
    EVP_PKEY* container = EVP_PKEY_new();
    const Stream stream = streamOverText(text);
    const bool read = container != nullptr && stream != nullptr &&
                      PEM_read_bio_PUBKEY(stream.get(), &container, refusePassPhrase, nullptr);
    const Key owner(container);  // the reader may have put another object in its place
    return read ? RsaKey(EVP_PKEY_get1_RSA(owner.get())) : nullptr;
}

RsaKey readRsaPrivateKey(const std::string& text) {
    const Stream stream = streamOverText(text);
    if (stream == nullptr) return nullptr;
    return RsaKey(PEM_read_bio_RSAPrivateKey(stream.get(), nullptr, refusePassPhrase, nullptr));
}

}  // namespace quillmore
