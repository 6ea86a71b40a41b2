/* FNV-1a over the bytes of a sequence of words, low byte first: pins long results in one number. */
#ifndef EARSHOT_TESTS_SUPPORT_DIGEST_HPP
#define EARSHOT_TESTS_SUPPORT_DIGEST_HPP

#include <earshot/types.h>

namespace earshot::test {

class digest {
  public:
    void add(s64 word) {
        for (int byte = 0; byte < 8; ++byte)
            value_ = (value_ ^ (static_cast<u64>(word) >> 8 * byte & 0xFF)) * 0x100000001B3;
    }
    u64 value() const { return value_; }

  private:
    u64 value_ = 0xCBF29CE484222325;
};

} // namespace earshot::test

#endif
