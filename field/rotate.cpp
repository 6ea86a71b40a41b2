// Frames through a rotation: checks, the weights of a ramp, and the kernels, degree by degree.
#include "field/kernels.hpp"
#include "kernel/saturate.hpp"

#include <string.h>

namespace earshot {
namespace {

using rotation_t = earshot_field_rotation;

// What a ramp still lacks at each frame of a block: (length - 1 - i) / length, Q31, cut. Exactly,
// without a division for each frame.
class ramp_weights {
  public:
    ramp_weights(u32 length, u32 begin)
        : length_(length), step_(full / length), step_rest_(full % length) {
        const u64 parts = (u64{length} - 1 - begin) * full;
        weight_ = parts / length;
        rest_ = parts % length;
    }

    void next(s32 *weights, u32 count) {
        for (u32 i = 0; i < count; ++i) {
            weights[i] = static_cast<s32>(weight_);
            weight_ -= step_;
            if (rest_ < step_rest_) {
                rest_ += length_;
                --weight_;
            }
            rest_ -= step_rest_;
        }
    }

  private:
    static constexpr u64 full = u64{1} << 31;

    u64 length_, step_, step_rest_;
    u64 weight_, rest_;
};

// Frames that are rotated at a time: few enough for their channels to stay in the cache.
constexpr u32 most_frames = 256;

void rotate_frames(const rotation_t &from, const rotation_t &to, u32 length, u32 begin, u32 frames,
                   s32 *const *channels, u64 &clipped) {
    const field_kernels &kernels = field_kernels_for(active_isa());
    const bool moves = memcmp(from.entries, to.entries, sizeof to.entries) != 0;
    s32 rest[EARSHOT_FIELD_ENTRIES], weights[most_frames];
    for (u32 k = 0; moves && k < EARSHOT_FIELD_ENTRIES; ++k)
        rest[k] = ARM_s32_saturate_s64(s64{from.entries[k]} - to.entries[k]);
    ramp_weights ramp(length, begin);
    for (u32 done = 0; done < frames;) {
        const u32 left = frames - done;
        const u32 count = left < most_frames ? left : most_frames;
        if (moves) ramp.next(weights, count);
        for (s32 degree = 1; degree <= static_cast<s32>(to.order); ++degree) {
            const s32 before = entries_before(degree);
            const auto &rotate = moves ? kernels.ramp : kernels.steady;
            clipped += rotate[degree - 1]({to.entries + before, rest + before}, weights,
                                          channels + channel_of(degree, -degree), done,
                                          static_cast<s32>(count));
        }
        done += count;
    }
}

u32 rotate(const rotation_t *from, const rotation_t *to, u32 length, u32 begin, u32 frames,
           s32 *const *channels, u64 *clipped) {
    if (from == nullptr || to == nullptr || channels == nullptr) return EARSHOT_BAD_MEMORY;
    if (!is_order(to->order) || from->order != to->order) return EARSHOT_BAD_VALUE;
    if (length == 0 || begin > length || frames > length - begin) return EARSHOT_BAD_VALUE;
    for (u32 k = 1; k <= channel_of(static_cast<s32>(to->order), static_cast<s32>(to->order)); ++k)
        if (channels[k] == nullptr) return EARSHOT_BAD_MEMORY;
    u64 beyond = 0;
    rotate_frames(*from, *to, length, begin, frames, channels, beyond);
    if (clipped != nullptr) *clipped += beyond;
    return EARSHOT_OK;
}

} // namespace
} // namespace earshot

extern "C" {

u32 earshot_field_rotate(const earshot_field_rotation *from, const earshot_field_rotation *to,
                         u32 length, u32 begin, u32 frames, s32 *const *channels, u64 *clipped) {
    return earshot::rotate(from, to, length, begin, frames, channels, clipped);
}

} // extern "C"
