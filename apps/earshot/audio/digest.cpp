#include "audio/digest.hpp"

#include <bit>

namespace earshot_tool {

void sample_digest::add(const s32 *words, std::size_t count) {
    if constexpr (std::endian::native == std::endian::little) {
        digest_.add(words, 4 * count);
        return;
    }
    bytes_.resize(4 * count);
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t k = 0; k < 4; ++k)
            bytes_[4 * i + k] = static_cast<unsigned char>(static_cast<u32>(words[i]) >> (8 * k));
    digest_.add(bytes_.data(), bytes_.size());
}

std::string byte_digest::text() {
    unsigned char hash[SHA256_DIGEST_SIZE];
    sha256_digest(&context_, sizeof hash, hash);
    std::string hex;
    for (const unsigned char byte : hash) {
        constexpr char digits[] = "0123456789abcdef";
        hex += digits[byte >> 4];
        hex += digits[byte & 15];
    }
    return hex;
}

} // namespace earshot_tool
