#include "scene/delivery/sample_narrower.hpp"

#include <algorithm>
#include <cstdint>

namespace earshot_scenes {

namespace {

// Returns how many were clipped.
template <class Dither>
u64 narrowed(const s32 *in, s32 *out, std::size_t count, int width, Dither &dither) {
    Dither noise = dither; // a copy stays in registers
    const s64 step = s64{1} << (32 - width);
    u64 clipped = 0;
    for (std::size_t i = 0; i < count; ++i) {
        s64 rounded = (in[i] + s64{noise.next()} + step / 2) & -step;
        if (rounded != static_cast<s32>(rounded)) {
            ++clipped;
            rounded = rounded < 0 ? INT32_MIN : (s64{1} << 31) - step;
        }
        out[i] = static_cast<s32>(rounded);
    }
    dither = noise;
    return clipped;
}

} // namespace

sample_narrower::sample_narrower(int width, int dropped_bits) : width_(width) {
    if (dropped_bits > 0) dither_.emplace(dropped_bits);
}

void sample_narrower::skip(u64 samples) {
    if (dither_) dither_->skip(samples);
}

void sample_narrower::narrow(const s32 *in, s32 *out, std::size_t count) {
    no_dither none;
    if (!changes())
        std::copy_n(in, count, out);
    else
        clipped_ += dither_ ? narrowed(in, out, count, width_, *dither_)
                            : narrowed(in, out, count, width_, none);
}

} // namespace earshot_scenes
