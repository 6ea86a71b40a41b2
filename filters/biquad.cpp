// Cascades of biquads in transposed direct form II.
#include "filters/section.hpp"

#include <earshot/filters.h>

#include <string.h>

namespace earshot {
namespace {

constexpr s64 words_per_section = 5, states_per_section = 2;

s32 to_sample(s64 y, const s32 *) { return ARM_s32_saturate_s64(y); }
s16 to_sample(s64 y, const s16 *) { return ARM_s16_saturate_s32(ARM_s32_saturate_s64(y)); }

// Section by section, each over the whole block: the words of one stay in registers, and the next
// works on what it left in out.
template <class Sample, class Scale>
void run_section(const Sample *in, Sample *out, s32 n, const s32 *c, s64 *state, Scale scale) {
    const s32 b0 = c[0], b1 = c[1], b2 = c[2], a1 = c[3], a2 = c[4];
    s64 s1 = state[0], s2 = state[1];
    for (s32 i = 0; i < n; ++i) {
        const s32 x = in[i];
        const Sample y = to_sample(scale.lower(wrap_add(ARM_s64_mult_s32_s32(b0, x), s1)), out);
        s1 = wrap_add(wrap_sub(ARM_s64_mult_s32_s32(b1, x), ARM_s64_mult_s32_s32(a1, y)), s2);
        s2 = wrap_sub(ARM_s64_mult_s32_s32(b2, x), ARM_s64_mult_s32_s32(a2, y));
        out[i] = y;
    }
    state[0] = s1;
    state[1] = s2;
}

template <class Sample>
void cascade(const Sample *in, Sample *out, s32 n, const s32 *coefs, s64 *state, s32 sections,
             s32 shift) {
    if (n < 1) return;
    if (sections < 1) memmove(out, in, static_cast<size_t>(n) * sizeof *in);
    with_scale(shift, [=](auto scale) {
        for (s32 k = 0; k < sections; ++k)
            run_section(k == 0 ? in : out, out, n, coefs + words_per_section * k,
                        state + states_per_section * k, scale);
    });
}

} // namespace
} // namespace earshot

extern "C" {

void iirTDF2_32(const s32 *in, s32 *out, s32 n, const s32 *coefs, s64 *state, s32 sections,
                s32 shift) {
    earshot::cascade(in, out, n, coefs, state, sections, shift);
}
void iirTDF2_16(const s16 *in, s16 *out, s32 n, const s32 *coefs, s64 *state, s32 sections,
                s32 shift) {
    earshot::cascade(in, out, n, coefs, state, sections, shift);
}

} // extern "C"
