#include "yardstick.hpp"

#include "float_loops.hpp"

#include <earshot/hrtf.h>

#include <algorithm>

namespace earshot_bench {
namespace {

// A filter of the library's tables as a spectrum of all bins, with the factor that takes the
// lengths of both transforms out again.
buffer<float> float_filter(const s32 *entries) {
    constexpr double scale = 1.0 / (1 << 29) / fft_size;
    buffer<float> filter(2 * bins);
    for (unsigned i = 0; i < 2 * half; ++i) filter[i] = static_cast<float>(entries[i] * scale);
    filter[2 * half] = filter[1];
    filter[1] = 0;
    return filter;
}

} // namespace

yardstick::yardstick(const scene &s)
    : scene_(s), selected_(s.sources), input_(converted<float>(s.input())), spectrum_(2 * bins),
      block_(fft_size) {
    for (buffer<float> &ear : ears_) ear.resize(2 * bins);
    for (buffer<s32> &ear : output_) ear.resize(s.frame_length);
    load_filters();
    select_filters();
}

void yardstick::load_filters() {
    const u32 selector = scene_.ambisonic ? 2 : 0;
    const hrtf_config config = {selector};
    hrtf_instance memory, *hrtf = nullptr;
    hrtf_init(&hrtf, 1, &config, &memory, sizeof memory);
    const unsigned count = scene_.ambisonic ? scene_.sources : 180 / azimuth_step + 1;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned step = scene_.ambisonic ? 1 : azimuth_step;
        hrtf_position position = {0, static_cast<s32>(i * step << 16), 0};
        hrtf_filter_pair pair;
        hrtf_selection(hrtf, &position, &pair);
        filters_.push_back({float_filter(pair.ear[0]), float_filter(pair.ear[1])});
    }
}

yardstick::filter_pair yardstick::horizontal(unsigned azimuth) const {
    const bool mirrored = azimuth > 180;
    const auto &pair = filters_[(mirrored ? 360 - azimuth : azimuth) / azimuth_step];
    return {{pair[mirrored].data(), pair[!mirrored].data()}};
}

void yardstick::select_filters() {
    for (unsigned s = 0; s < scene_.sources; ++s) {
        if (scene_.ambisonic)
            selected_[s] = {{filters_[s][0].data(), filters_[s][1].data()}};
        else
            selected_[s] = horizontal(scene_.azimuth_of(s, frame_));
    }
}

void yardstick::write_ear(unsigned ear) {
    inverse_(ears_[ear].data(), block_.data());
    float *const samples = block_.data() + half;
    float *const tail = tails_[ear].data();
    if (scene_.moving && frame_ != 0) fade_over(samples, tail, fade_length);
    const unsigned rest = std::min(fade_length, half - scene_.frame_length);
    std::copy_n(samples + scene_.frame_length, rest, tail);
    to_q31(output_[ear].data(), samples, static_cast<int>(scene_.frame_length));
}

void yardstick::render_frame() {
    if (scene_.moving) select_filters();
    for (buffer<float> &ear : ears_) std::fill(ear.begin(), ear.end(), 0.0f);
    for (unsigned s = 0; s < scene_.sources; ++s) {
        forward_(input_.data() + s * fft_size, spectrum_.data());
        add_filtered(ears_[0].data(), ears_[1].data(), spectrum_.data(), selected_[s].ear[0],
                     selected_[s].ear[1], static_cast<int>(bins));
    }
    for (unsigned ear = 0; ear < 2; ++ear) write_ear(ear);
    ++frame_;
}

} // namespace earshot_bench
