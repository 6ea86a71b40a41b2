// Gain over distance in scenes, as comma-separated values in decibels.

#include <cmath>
#include <cstdio>

#include "scene/rendering/distance_gain.hpp"

namespace {

s32 q16(double metres) { return static_cast<s32>(std::lround(metres * 65536)); }

// Nothing, which has no decibels, is an empty cell.
void print_gain(double distance, u32 model, double minimum, double maximum) {
    const u32 gain = earshot_scenes::rolled_off(q16(distance), {model, q16(minimum), q16(maximum)});
    if (gain > 0) std::printf(",%.3f", 20 * std::log10(gain / 0x1p31));
    if (gain == 0) std::printf(",");
}

} // namespace

int main() {
    std::puts("metres,inverse,inverse_from_4,linear,none");
    constexpr int steps_to_double = 1400;
    for (int step = -steps_to_double; step < 6.13 * steps_to_double; ++step) { // 0.5 to 70 m
        const double distance = std::exp2(double{1} * step / steps_to_double);
        std::printf("%.4f", distance);
        print_gain(distance, ROLLOFF_INVERSE, 1, 60);
        print_gain(distance, ROLLOFF_INVERSE, 4, 60);
        print_gain(distance, ROLLOFF_LINEAR, 1, 60);
        print_gain(distance, ROLLOFF_NONE, 1, 60);
        std::puts("");
    }
}
