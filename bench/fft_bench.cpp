// The transforms that the renderer lives on, and the complex ones around them.
#include "bench.hpp"

#include "fft/tables.hpp"

#include <earshot/fft.h>

namespace earshot_bench {
namespace {

const s32 *const twiddles = &earshot::fft_twiddles[0][0];
const s32 *const split_twiddles = &earshot::fft_split_twiddles[0][0];

void complex_forward(benchmark::State &state, s32 n) {
    const auto in = noise(2 * static_cast<std::size_t>(n), 12);
    auto out = in;
    for (auto _ : state) {
        cmplxfft32x32(in.data(), n, twiddles, out.data());
        benchmark::ClobberMemory();
    }
}

void real_forward(benchmark::State &state, s32 n) {
    const auto in = noise(static_cast<std::size_t>(n), 12);
    auto out = noise(static_cast<std::size_t>(n) + 2, 12);
    for (auto _ : state) {
        Vorkel_rfft_32x32(in.data(), n, twiddles, split_twiddles, 1024 / n, out.data());
        benchmark::ClobberMemory();
    }
}

// The spectrum is overwritten: every pass transforms what the one before left.
void real_inverse(benchmark::State &state, s32 n) {
    auto spec = noise(static_cast<std::size_t>(n) + 2, 12);
    auto out = noise(static_cast<std::size_t>(n), 12);
    for (auto _ : state) {
        Vorkel_rifft_32x32_scaled(spec.data(), n, twiddles, split_twiddles, 1024 / n, out.data());
        benchmark::ClobberMemory();
    }
}

} // namespace

void register_transforms() {
    for (const s32 n : {128, 1024}) {
        register_at_every_level("complex " + std::to_string(n) + ", forward",
                                [=](benchmark::State &state) { complex_forward(state, n); });
    }
    register_at_every_level("real 256, forward",
                            [](benchmark::State &state) { real_forward(state, 256); });
    register_at_every_level("real 256, scaled inverse",
                            [](benchmark::State &state) { real_inverse(state, 256); });
}

} // namespace earshot_bench
