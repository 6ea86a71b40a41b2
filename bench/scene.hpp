// What the renderers render: sources on the horizon, standing or moving on with every frame, or the
// channels of a fourth-order sound field.
#ifndef EARSHOT_BENCH_SCENE_HPP
#define EARSHOT_BENCH_SCENE_HPP

#include "cases.hpp"

namespace earshot_bench {

constexpr unsigned fft_size = 256, half = fft_size / 2, bins = half + 1;
constexpr unsigned azimuth_step = 5; // degrees between two filter pairs of the horizon
constexpr unsigned fade_length = 32;

struct scene {
    unsigned sources, frame_length;
    bool ambisonic, moving;

    double frames_per_second() const { return 48000.0 / frame_length; }
    unsigned azimuth_of(unsigned source, unsigned frame) const {
        return (25 * source + (moving ? azimuth_step * frame : 0)) % 360;
    }
    // Too quiet for 256 of them to clip.
    buffer<s32> input() const { return noise(std::size_t{fft_size} * sources, 7); }
};

// hrtf.h's front and back end.
contestant contestant_of_two_ends(const std::string &name, const scene &s);

} // namespace earshot_bench

#endif
