#include "scene/rendering/following_engine.hpp"

#include <algorithm>

#include <earshot/math.h>

#include "scene/rendering/library_status.hpp"

namespace earshot_scenes {

shared_head builtin_head() {
    const auto memory = std::make_shared<library_memory>(memory_of(earshot_head_builtin_size()));
    const earshot_head *head = nullptr;
    require(earshot_head_builtin(memory->data(), earshot_head_builtin_size(), &head),
            "earshot_head_builtin");
    return {memory, head};
}

// A delay of n samples turns entry 1, at 187.5 Hz, by n / 256 of a turn.
earshot_filter_pair in_time_with(const s32 *const (&ears)[2]) {
    constexpr s64 turn = 2 * EARSHOT_PI_Q31;
    constexpr s64 length = window_length;
    const auto cosine = [](s64 angle) { return s64{high_precision_sin(angle + turn / 4)}; };
    const auto sine = [](s64 angle) { return s64{high_precision_sin(angle)}; };

    // The mean of both ears, Q28.
    const s32 real = ears[0][2] / 4 + ears[1][2] / 4;
    const s32 imaginary = ears[0][3] / 4 + ears[1][3] / 4;
    const s64 lag = high_precision_atan2(-imaginary, real);
    const s64 modulus = rounded_shift(real * cosine(lag) - imaginary * sine(lag), 30);
    const s64 gain = std::clamp<s64>(modulus, 0, s64{1} << 30); // Q29
    // Responses begin with the sound, or a little before it.
    const s64 delay = std::clamp<s64>((lag * length + turn / 2) / turn, 0, filter_taps - 1);

    earshot_filter_pair pair{};
    for (s32(&ear)[window_length] : pair.ear) {
        for (s64 k = 0; k < length / 2; ++k) {
            const s64 angle = k * delay % length * turn / length;
            ear[2 * k] = static_cast<s32>(rounded_shift(gain * cosine(angle), 31));
            ear[2 * k + 1] = static_cast<s32>(rounded_shift(-gain * sine(angle), 31));
        }
        ear[1] = delay % 2 == 0 ? ear[0] : -ear[0]; // Nyquist
    }
    pair.gain = static_cast<u32>(gain >> 13) + 2; // sines are rounded
    return pair;
}

following_engine::following_engine(const shape &shape, std::optional<int> guard)
    : binaural_engine(shape), guard_(guard) {
    const earshot_binaural_config config{static_cast<u32>(shape.sources),
                                         static_cast<u32>(shape.frame_length),
                                         static_cast<u32>(shape.lead)};
    std::size_t size = 0;
    require(earshot_binaural_get_size(&config, &size), "earshot_binaural_get_size");
    memory_ = memory_of(size);
    require(earshot_binaural_init(&renderer_, &config, memory_.data(), size),
            "earshot_binaural_init");
    if (guard)
        require(earshot_binaural_fix_headroom(renderer_, *guard), "earshot_binaural_fix_headroom");
}

void following_engine::use(std::size_t source, const earshot_filter_pair &pair) {
    require(earshot_binaural_set(renderer_, static_cast<u32>(source), &pair),
            "earshot_binaural_set");
}

int following_engine::process(const s32 *const *windows, s32 *ears) {
    s32 exponent = 0;
    require(earshot_binaural_process(renderer_, windows, ears, &exponent),
            "earshot_binaural_process");
    return exponent;
}

} // namespace earshot_scenes
