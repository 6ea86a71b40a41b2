// SHA-256 of output samples.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <nettle/sha2.h>

#include <earshot/types.h>

namespace earshot_tool {

class sample_digest {
  public:
    sample_digest() { sha256_init(&context_); }

    // The words count as little-endian bytes on every machine.
    void add(const s32 *words, std::size_t count);

    // In hexadecimal; starts over.
    std::string text();

  private:
    sha256_ctx context_;
    std::vector<unsigned char> bytes_;
};

} // namespace earshot_tool
