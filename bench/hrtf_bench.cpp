// The binaural renderer: one source through the front end, one frame through the back end, and
// whole frames of 16 sources, whose "x real time" is the number of sources that one core renders in
// real time.
#include "bench.hpp"

#include <earshot/hrtf.h>

#include <array>

namespace earshot_bench {
namespace {

constexpr u32 fft_size = 256;
constexpr u32 bins = fft_size / 2 + 1;

class renderer {
  public:
    renderer(u32 sources, u32 frame_length) : frame_length_(frame_length) {
        const hrtf_filt_front_config front_config = {0, 48000, sources, 0, 0};
        const hrtf_filt_back_config back_config = {1, frame_length, fft_size, 0, 0, 0};
        hrtf_requirement need{};
        hrtf_filt_front_get_req(0, &need, 1, &front_config);
        front_memory_.resize(need.static_size / 8 + 1);
        hrtf_filt_front_init(&front_, 1, &front_config, front_memory_.data(), need.static_size);
        front_scratch_.resize(need.scratch_size / sizeof(s32));
        hrtf_filt_front_scratch_get_init(front_, &front_config, front_scratch_.data(), 1);
        hrtf_filt_back_get_req(0, &need, 1, &back_config);
        back_memory_.resize(need.static_size / 8 + 1);
        hrtf_filt_back_init(&back_, 1, &back_config, back_memory_.data(), need.static_size);
        back_scratch_.resize(need.scratch_size / sizeof(s32));
        hrtf_filt_back_scratch_get_init(back_, &back_config, back_scratch_.data(), 1);
        input_ = noise(std::size_t{fft_size} * sources, 6);
        for (u32 s = 0; s < sources; ++s) {
            inputs_.push_back(&input_[std::size_t{s} * fft_size]);
            const s32 azimuth = static_cast<s32>(s * 23 * 65536);
            hrtf_filt_front_direction direction = {sizeof direction, s, {0, azimuth, 0}};
            hrtf_filt_front_set(front_, HRTF_FILT_FRONT_PARAM_SELECT, &direction);
        }
    }
    void clear_spectra() { spectra_ = {}; }
    void front_end() {
        const hrtf_ear_spectra ears = {{spectra_[0].data(), spectra_[1].data()}};
        hrtf_filt_front_process(front_, bins, &ears, fft_size, inputs_.data());
        benchmark::ClobberMemory();
    }
    void back_end() {
        const hrtf_ear_spectra ears = {{spectra_[0].data(), spectra_[1].data()}};
        const hrtf_ear_outputs outputs = {{output_[0].data(), output_[1].data()}};
        hrtf_filt_back_process(back_, frame_length_, &outputs, bins, &ears);
        benchmark::ClobberMemory();
    }

  private:
    u32 frame_length_;
    std::vector<s64> front_memory_, back_memory_;
    std::vector<s32> front_scratch_, back_scratch_, input_;
    std::vector<const s32 *> inputs_;
    std::array<std::array<s32, 2 * bins>, 2> spectra_{};
    std::array<std::array<s32, 128>, 2> output_{};
    hrtf_filt_front_instance *front_ = nullptr;
    hrtf_filt_back_instance *back_ = nullptr;
};

void whole_frame(benchmark::State &state, u32 sources, u32 frame_length) {
    renderer r(sources, frame_length);
    for (auto _ : state) {
        r.clear_spectra();
        r.front_end();
        r.back_end();
    }
    state.SetItemsProcessed(state.iterations() * sources * frame_length);
}

} // namespace

void register_renderer() {
    register_at_every_level("front end, 1 source", [](benchmark::State &state) {
        renderer r(1, 96);
        for (auto _ : state) r.front_end();
    });
    register_at_every_level("back end, 1 frame of 96", [](benchmark::State &state) {
        renderer r(1, 96);
        for (auto _ : state) r.back_end();
    });
    for (const u32 frame_length : {96u, 128u})
        register_at_every_level(
            "render, 16 sources, frames of " + std::to_string(frame_length),
            [=](benchmark::State &state) { whole_frame(state, 16, frame_length); });
}

} // namespace earshot_bench
