#define OPENSSL_API_COMPAT 0x10100000L

#include "tests/Common/Tools/integrity/TestKeys.h"

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <functional>
#include <stdexcept>

namespace quillmore::tests {

namespace {

std::string pem(const std::function<int(BIO*)>& write) {
    BIO* stream = BIO_new(BIO_s_mem());
    if (write(stream) != 1) throw std::runtime_error("a key cannot be written");
    char* text = nullptr;
    const long size = BIO_get_mem_data(stream, &text);
    std::string result(text, static_cast<std::size_t>(size));
    BIO_free(stream);
    return result;
}

EVP_PKEY* makePssKey() {
    EVP_PKEY_CTX* context = EVP_PKEY_CTX_new_id(EVP_PKEY_RSA_PSS, nullptr);
    EVP_PKEY* key = nullptr;
    if (EVP_PKEY_keygen_init(context) != 1 || EVP_PKEY_keygen(context, &key) != 1)
        throw std::runtime_error("a key cannot be made");
    EVP_PKEY_CTX_free(context);
    return key;
}

/// And frees the key.
RsaPair textsOf(EVP_PKEY* pair) {
    RsaPair texts;
    texts.privateKey = pem([&](BIO* stream) {
        return PEM_write_bio_PrivateKey(stream, pair, nullptr, nullptr, 0, nullptr, nullptr);
    });
    texts.publicKey = pem([&](BIO* stream) { return PEM_write_bio_PUBKEY(stream, pair); });
    EVP_PKEY_free(pair);
    return texts;
}

TestKeys makeKeys() {
    EVP_PKEY* pair = EVP_RSA_gen(2048);
    EVP_PKEY* elliptic = EVP_EC_gen("P-256");
    RSA* rsa = EVP_PKEY_get1_RSA(pair);
    unsigned char phrase[] = "open sesame";
    TestKeys keys;
    keys.privateKey = pem([&](BIO* stream) {
        return PEM_write_bio_RSAPrivateKey(stream, rsa, nullptr, nullptr, 0, nullptr, nullptr);
    });
    keys.encryptedPrivateKey = pem([&](BIO* stream) {
        return PEM_write_bio_RSAPrivateKey(stream, rsa, EVP_aes_128_cbc(), phrase,
                                           sizeof phrase - 1, nullptr, nullptr);
    });
    keys.publicKey = pem([&](BIO* stream) { return PEM_write_bio_PUBKEY(stream, pair); });
    keys.rsaOnlyPublicKey =
        pem([&](BIO* stream) { return PEM_write_bio_RSAPublicKey(stream, rsa); });
    keys.ellipticPublicKey =
        pem([&](BIO* stream) { return PEM_write_bio_PUBKEY(stream, elliptic); });
    keys.ellipticPrivateKey = pem([&](BIO* stream) {
        return PEM_write_bio_PrivateKey(stream, elliptic, nullptr, nullptr, 0, nullptr, nullptr);
    });
    RSA_free(rsa);
    EVP_PKEY_free(elliptic);
    EVP_PKEY_free(pair);
    return keys;
}

}  // namespace

const TestKeys& testKeys() {
    static const TestKeys keys = makeKeys();
    return keys;
}

RsaPair makeRsaPair(unsigned int bits) {
    return textsOf(EVP_RSA_gen(bits));
}

const RsaPair& pssPair() {
    static const RsaPair pair = textsOf(makePssKey());
    return pair;
}

std::vector<std::uint8_t> signatureByTheLibrary(const std::string& privateKey,
                                                const std::string& data, const char* digest) {
    BIO* stream = BIO_new_mem_buf(privateKey.data(), static_cast<int>(privateKey.size()));
    EVP_PKEY* key = PEM_read_bio_PrivateKey(stream, nullptr, nullptr, nullptr);
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    std::vector<std::uint8_t> signature(1024);
    std::size_t size = signature.size();
    const std::span<const std::uint8_t> bytes = bytesOf(data);
    if (EVP_DigestSignInit(context, nullptr, EVP_get_digestbyname(digest), nullptr, key) != 1 ||
        EVP_DigestSign(context, signature.data(), &size, bytes.data(), bytes.size()) != 1)
        throw std::runtime_error("the data cannot be signed");
    signature.resize(size);
    EVP_MD_CTX_free(context);
    EVP_PKEY_free(key);
    BIO_free(stream);
    return signature;
}

}  // namespace quillmore::tests
