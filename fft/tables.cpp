// The twiddle tables. fft/generated is written by tools/fft_tables.cpp:
//     cmake --build build --target fft_tables && build/fft_tables fft/generated
#include "fft/tables.hpp"

// The tables are generated flat, entry after entry.
#pragma GCC diagnostic ignored "-Wmissing-braces"

namespace earshot {

alignas(64) const s32 fft_twiddles[256][6] = {
#include "fft/generated/twiddles.inc"
};
alignas(64) const s32 fft_recombine_twiddles[256][2] = {
#include "fft/generated/recombine_twiddles.inc"
};

} // namespace earshot
