/*
 * What the fuzz targets of the library share: operands out of an input's bytes, a record of what
 * calls have answered, and the same run on every isa. A fault ends the process, which is how
 * libFuzzer learns of it.
 */
#ifndef EARSHOT_TESTS_FUZZ_FUZZ_HPP
#define EARSHOT_TESTS_FUZZ_FUZZ_HPP

#include "../hrtf/guarded.hpp"
#include "kernel/isa.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <vector>

namespace earshot::fuzz {

using test::guarded;

inline void require(bool holds, const char *what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/* An input as operands, zeros after its end. */
class operands {
  public:
    operands(const unsigned char *data, std::size_t size) : at_(data), end_(data + size) {}

    bool are_left() const { return at_ != end_; }

    template <class T> T take() {
        T value{};
        const std::size_t bytes = std::min<std::size_t>(sizeof value, std::size_t(end_ - at_));
        if (bytes > 0) std::memcpy(&value, at_, bytes);
        at_ += bytes;
        return value;
    }
    bool flip() { return (take<unsigned char>() & 1) != 0; }
    u32 below(u32 limit) { return (limit <= 256 ? take<unsigned char>() : take<u16>()) % limit; }
    s32 between(s32 low, s32 high) { return low + static_cast<s32>(below(u32(high - low + 1))); }

    /* One word of 16 is small, one any. */
    u32 mostly(std::size_t usual) {
        const u32 kind = below(16);
        return kind == 15 ? take<u32>() : kind == 14 ? below(16) : static_cast<u32>(usual);
    }

    /* Noise of some magnitude, full scale of either sign, or bits, from three bytes. */
    template <class T> void fill(const guarded<T> &words) {
        const u32 kind = below(40);
        u64 state = take<u16>();
        for (T &word : words) {
            state = state * 6364136223846793005u + 1442695040888963407u;
            const auto noise = static_cast<T>(state >> 32);
            using limits = std::numeric_limits<T>;
            word = kind < 32   ? static_cast<T>(noise >> kind % (8 * sizeof(T)))
                   : kind < 36 ? (noise & 1 ? limits::max() : limits::min())
                   : kind < 38 ? limits::min()
                               : static_cast<T>(noise & 1);
        }
    }

  private:
    const unsigned char *at_, *end_;
};

/* What calls have answered: must not depend on the isa. */
class transcript {
  public:
    template <class T> void add(const T *values, std::size_t count) {
        const auto *bytes = reinterpret_cast<const unsigned char *>(values);
        if (count > 0) bytes_.insert(bytes_.end(), bytes, bytes + count * sizeof(T));
    }
    template <class T> void add(const guarded<T> &block) {
        require(block.intact(), "nothing is written around a block");
        add(block.begin(), std::size_t(block.end() - block.begin()));
    }
    u32 add_status(u32 status, std::initializer_list<u32> stated) {
        require(std::count(stated.begin(), stated.end(), status) > 0, "a status is a stated one");
        add(&status, 1);
        return status;
    }
    /* A call that writes to blocks, or else refuses and leaves them as they are. */
    template <class Blocks, class Call>
    void add_call(const Blocks &blocks, std::initializer_list<u32> stated, const Call &call) {
        transcript before, after;
        for (const auto &block : blocks) before.add(block);
        const u32 status = add_status(call(), stated);
        for (const auto &block : blocks) after.add(block);
        require(status == 0 || after == before, "what is refused writes nothing");
        add(after.bytes_.data(), after.bytes_.size());
    }
    bool operator==(const transcript &) const = default;

  private:
    std::vector<unsigned char> bytes_;
};

/* run(operands, transcript) on every isa that there is, each time from the input's beginning. */
template <class Run>
void same_on_every_isa(const unsigned char *data, std::size_t size, const Run &run) {
    transcript expected;
    for (const isa i : all_isas) {
        if (!is_available(i)) continue;
        force_isa(i);
        operands in(data, size);
        transcript actual;
        run(in, actual);
        if (i == isa::scalar) expected = actual;
        require(actual == expected, name_of(i));
    }
}

} // namespace earshot::fuzz

#endif
