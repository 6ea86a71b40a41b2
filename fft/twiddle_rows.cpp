#include "fft/twiddle_rows.hpp"

#include "kernel/saturate.hpp"

// The tables are generated flat, entry after entry.
#pragma GCC diagnostic ignored "-Wmissing-braces"

namespace earshot {
namespace {

constexpr s32 most = 256; // butterflies of the first stage, entries of the tables

constexpr s32 twiddles[most][6] = {
#include "fft/generated/twiddles.inc"
};
constexpr s32 recombine_twiddles[most][2] = {
#include "fft/generated/recombine_twiddles.inc"
};

constexpr s32 negated(s32 x) { return x == s32_min ? s32_max : -x; }

// The table entry of butterfly i among count.
constexpr s32 entry_of(s32 i, s32 count) {
    s32 reversed = 0;
    for (s32 bit = 1; bit < count; bit *= 2) reversed = 2 * reversed + ((i & bit) != 0 ? 1 : 0);
    return reversed;
}

// Sizes one after the other, each with the rows of the real words, of the imaginary ones and of
// these negated, for the inverses. The sizes before one of count butterflies have count - least.
constexpr s32 least_complex = 4, least_real = 8;
constexpr s32 row_count = 9;

struct own_rows {
    s32 complex[row_count * (2 * most - least_complex)];
    s32 sine[2 * most - least_real], cosine[2][2 * most - least_real];
};

constexpr own_rows make_rows() {
    own_rows rows{};
    s32 *row = rows.complex;
    for (s32 count = least_complex; count <= most; count *= 2) {
        for (s32 i = 0; i < count; ++i) {
            const s32 *entry = twiddles[entry_of(i, count)];
            for (s32 pair = 0; pair < 3; ++pair) {
                row[pair * count + i] = entry[2 * pair];
                row[(3 + pair) * count + i] = entry[2 * pair + 1];
                row[(6 + pair) * count + i] = negated(entry[2 * pair + 1]);
            }
        }
        row += row_count * count;
    }
    for (s32 count = least_real; count <= most; count *= 2) {
        for (s32 i = 0; i < count; ++i) {
            const s32 *pair = recombine_twiddles[(i + 1) * (most / count) - 1];
            rows.sine[count - least_real + i] = pair[0];
            rows.cosine[0][count - least_real + i] = pair[1];
            rows.cosine[1][count - least_real + i] = negated(pair[1]);
        }
    }
    return rows;
}

alignas(64) constexpr own_rows own = make_rows();

} // namespace

twiddle_rows own_twiddle_rows(s32 n, bool inverse) {
    const s32 count = n / 4;
    const s32 *rows = own.complex + row_count * (count - least_complex);
    return {rows, rows + (inverse ? 6 : 3) * count, count};
}

recombine_rows own_recombine_rows(s32 n, bool inverse) {
    const s32 first = n / 4 - least_real;
    return {own.sine + first, own.cosine[inverse ? 1 : 0] + first};
}

twiddle_copy::twiddle_copy(const s32 *table, s32 n, bool inverse) {
    const s32 count = n / 4;
    for (s32 i = 0; i < count; ++i) {
        const s32 *entry = table + 6 * entry_of(i, count);
        for (s32 pair = 0; pair < 3; ++pair) {
            const s32 im = entry[2 * pair + 1];
            words_[pair][i] = entry[2 * pair];
            words_[3 + pair][i] = inverse ? negated(im) : im;
        }
    }
}

recombine_copy::recombine_copy(const s32 *table, s32 n, s32 stride, bool inverse) {
    for (s32 i = 0; i < n / 4; ++i) {
        const s32 *pair = table + 2 * ((i + 1) * stride - 1);
        sine_[i] = pair[0];
        cosine_[i] = inverse ? negated(pair[1]) : pair[1];
    }
}

} // namespace earshot
