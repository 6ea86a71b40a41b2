// SHA-256, of bytes and of output samples.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <nettle/sha2.h>

#include <earshot/types.h>

namespace earshot_tool {

class byte_digest {
  public:
    byte_digest() { sha256_init(&context_); }

    void add(const void *bytes, std::size_t count) {
        sha256_update(&context_, count, static_cast<const unsigned char *>(bytes));
    }

    // In hexadecimal; starts over.
    std::string text();

  private:
    sha256_ctx context_;
};

class sample_digest {
  public:
    // The words count as little-endian bytes on every machine.
    void add(const s32 *words, std::size_t count);

    // In hexadecimal; starts over.
    std::string text() { return digest_.text(); }

  private:
    byte_digest digest_;
    std::vector<unsigned char> bytes_;
};

} // namespace earshot_tool
