// Twiddles in the order in which the vector kernels read them: one row per word of a table entry,
// by butterfly. The tables of the interface are in bit-reversed order, entry after entry.
#ifndef EARSHOT_FFT_TWIDDLE_ROWS_HPP
#define EARSHOT_FFT_TWIDDLE_ROWS_HPP

#include <earshot/types.h>

namespace earshot {

// Rows 0 to 2 of either part belong to the three stored pairs of an entry, length words from one to
// the next. Word i is that of butterfly i of the first stage; a stage of span s takes every s-th.
struct twiddle_rows {
    const s32 *re, *im;
    s32 length; // n/4 for a transform of size n
};

// Word i belongs to bin i + 1 of a real transform; the inverses have the cosines negated.
struct recombine_rows {
    const s32 *sine, *cosine;
};

// Of the library's own tables: for complex transforms of 16 to 1024 values, real ones of 32 to
// 1024.
twiddle_rows own_twiddle_rows(s32 n, bool inverse);
recombine_rows own_recombine_rows(s32 n, bool inverse);

// Of any other table.
class twiddle_copy {
  public:
    twiddle_copy(const s32 *twiddles, s32 n, bool inverse);
    twiddle_rows rows() const { return {words_[0], words_[3], 256}; }

  private:
    s32 words_[6][256];
};

class recombine_copy {
  public:
    recombine_copy(const s32 *recombine_twiddles, s32 n, s32 stride, bool inverse);
    recombine_rows rows() const { return {sine_, cosine_}; }

  private:
    s32 sine_[256], cosine_[256];
};

} // namespace earshot

#endif
