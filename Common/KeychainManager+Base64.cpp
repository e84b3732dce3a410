// Base64 by OpenSSL's filter. In a library of its own (accounts_base64), because the launcher does
// not need it and must not map a crypto library.
#include <openssl/bio.h>
#include <openssl/evp.h>

#include <climits>
#include <memory>

#include "Common/KeychainManager.h"
#include "Platform/Values/SecretMemory.h"
#include "Platform/Values/TextEncoding.h"

namespace quillmore {

namespace {

struct FreeChain {
    void operator()(BIO* bio) const { BIO_free_all(bio); }
};
using Chain = std::unique_ptr<BIO, FreeChain>;

/// The filter without line breaks over a source or sink, which it takes over; null when there is no
/// memory.
Chain base64Over(Chain end) {
    Chain filter(BIO_new(BIO_f_base64()));
    if (!filter || !end) return nullptr;
    BIO_set_flags(filter.get(), BIO_FLAGS_BASE64_NO_NL);
    BIO_push(filter.get(), end.release());
    return filter;
}

/// More than the filter's own buffers hold.
constexpr std::size_t kRinseBytes = 4096;

/// The filter does not clear its buffers when it is freed: they are filled with something else
/// before. Each takes the end of the chain off.
void rinseEncoder(const Chain& filter) {
    const Chain end(BIO_pop(filter.get()));
    const std::string zeros(kRinseBytes, '\0');
    std::size_t written = 0;
    BIO_push(filter.get(), BIO_new(BIO_s_null()));
    BIO_write_ex(filter.get(), zeros.data(), zeros.size(), &written);
}

void rinseDecoder(const Chain& filter) {
    const Chain end(BIO_pop(filter.get()));
    const std::string encodedZeros(kRinseBytes, 'A');
    std::string zeros(kRinseBytes, '\0');
    std::size_t count = 0;
    BIO_push(filter.get(), BIO_new_mem_buf(encodedZeros.data(), kRinseBytes));
    BIO_reset(filter.get());
    while (BIO_read_ex(filter.get(), zeros.data(), zeros.size(), &count) == 1 && count > 0) {
    }
}

}  // namespace

KeychainManager::Text KeychainManager::encryptString(const Text& text) {
    if (!text || text->empty()) return text;
    Chain sink(BIO_new(BIO_s_mem()));  // clears its buffer when it is freed
    BIO* const memory = sink.get();
    const Chain filter = base64Over(std::move(sink));
    std::size_t written = 0;
    if (!filter || BIO_write_ex(filter.get(), text->data(), text->size(), &written) != 1 ||
        BIO_flush(filter.get()) != 1)
        return std::nullopt;
    char* bytes = nullptr;
    const long count = BIO_get_mem_data(memory, &bytes);
    std::string encoded =
        platform::makeSecret(std::string_view(bytes, static_cast<std::size_t>(count)));
    rinseEncoder(filter);
    return encoded;
}

KeychainManager::Text KeychainManager::decryptString(const Text& text) {
    if (!text || text->empty()) return text;
    if (text->size() > INT_MAX) return std::nullopt;  // more than a memory buffer takes
    const Chain filter =
        base64Over(Chain(BIO_new_mem_buf(text->data(), static_cast<int>(text->size()))));
    if (!filter) return std::nullopt;
    platform::Wiped<std::string> plain(platform::makeSecret(text->size()));
    platform::Wiped<std::string> chunk(std::string(1024, '\0'));
    for (std::size_t count = 0;
         BIO_read_ex(filter.get(), chunk->data(), chunk->size(), &count) == 1 && count > 0;)
        plain->append(*chunk, 0, count);
    rinseDecoder(filter);
    if (!platform::isUtf8(*plain)) return std::nullopt;
    return std::move(*plain);
}

}  // namespace quillmore
