// The binaural renderer, whole frames: front end and back end. Beside it the float yardstick.
#include "frames.hpp"

#include <earshot/hrtf.h>

#include <algorithm>
#include <array>

namespace earshot_bench {
namespace {

class renderer {
  public:
    explicit renderer(const scene &s) : scene_(s), input_(s.input()) {
        make_front();
        make_back();
        for (u32 i = 0; i < s.sources; ++i) inputs_.push_back(&input_[std::size_t{i} * fft_size]);
        for (unsigned ear = 0; ear < 2; ++ear) {
            spectra_[ear].resize(2 * bins);
            output_[ear].resize(s.frame_length);
        }
        select_filters();
    }
    void front_end() {
        const hrtf_ear_spectra ears = {{spectra_[0].data(), spectra_[1].data()}};
        hrtf_filt_front_process(front_, bins, &ears, fft_size, inputs_.data());
    }
    void back_end() {
        const hrtf_ear_spectra ears = {{spectra_[0].data(), spectra_[1].data()}};
        const hrtf_ear_outputs outputs = {{output_[0].data(), output_[1].data()}};
        hrtf_filt_back_process(back_, scene_.frame_length, &outputs, bins, &ears);
    }
    void render_frame() {
        if (scene_.moving) {
            select_filters();
            const hrtf_word_payload changed = {sizeof changed, frame_ != 0};
            hrtf_filt_back_set(back_, HRTF_FILT_BACK_PARAM_CHANGED, &changed);
        }
        for (buffer<s32> &ear : spectra_) std::fill(ear.begin(), ear.end(), 0);
        front_end();
        back_end();
        ++frame_;
    }
    const buffer<s32> &output(unsigned ear) const { return output_[ear]; }

  private:
    void make_front() {
        const hrtf_filt_front_config config = {scene_.ambisonic ? 2u : 0u, 48000, scene_.sources, 0,
                                               0};
        hrtf_requirement need{};
        hrtf_filt_front_get_req(0, &need, 1, &config);
        front_memory_.resize(need.static_size / 8 + 1);
        hrtf_filt_front_init(&front_, 1, &config, front_memory_.data(), need.static_size);
        front_scratch_.resize(need.scratch_size / sizeof(s32));
        hrtf_filt_front_scratch_get_init(front_, &config, front_scratch_.data(), 1);
    }
    void make_back() {
        const hrtf_filt_back_config config = {1, scene_.frame_length, fft_size, 0, 0, 0};
        hrtf_requirement need{};
        hrtf_filt_back_get_req(0, &need, 1, &config);
        back_memory_.resize(need.static_size / 8 + 1);
        hrtf_filt_back_init(&back_, 1, &config, back_memory_.data(), need.static_size);
        back_scratch_.resize(need.scratch_size / sizeof(s32));
        hrtf_filt_back_scratch_get_init(back_, &config, back_scratch_.data(), 1);
    }
    void select_filters() {
        for (u32 s = 0; s < scene_.sources; ++s) {
            const u32 azimuth = scene_.ambisonic ? s : scene_.azimuth_of(s, frame_);
            hrtf_filt_front_direction direction = {
                sizeof direction, s, {0, static_cast<s32>(azimuth << 16), 0}};
            hrtf_filt_front_set(front_, HRTF_FILT_FRONT_PARAM_SELECT, &direction);
        }
    }

    scene scene_;
    unsigned frame_ = 0;
    buffer<s64> front_memory_, back_memory_;
    buffer<s32> front_scratch_, back_scratch_, input_;
    std::vector<const s32 *> inputs_;
    std::array<buffer<s32>, 2> spectra_, output_;
    hrtf_filt_front_instance *front_ = nullptr;
    hrtf_filt_back_instance *back_ = nullptr;
};

bench_case case_of(const std::string &name, const scene &s, const char *unit, double factor) {
    const auto enlist = [=] {
        std::vector<contestant> all;
        on_every_isa([&](const char *isa, auto enter) {
            all.push_back(contestant_of<renderer>(isa, s));
            all.back().enter = enter;
        });
#if defined(EARSHOT_BENCH_FFTW)
        all.push_back(contestant_of<yardstick>("yardstick", s));
#endif
        return all;
    };
    return {name, s.sources, unit, factor * s.frames_per_second(), enlist};
}

// One of the two ends by itself. Its results are checked with the whole frames.
bench_case end_case(const std::string &name, unsigned size, void (renderer::*end)()) {
    const auto enlist = [=] {
        std::vector<contestant> all;
        on_every_isa([&](const char *isa, auto enter) {
            const auto r = std::make_shared<renderer>(scene{1, 96, false, false});
            const auto run = [=](unsigned calls) {
                for (unsigned i = 0; i < calls; ++i) (*r.*end)();
            };
            all.push_back({isa, run, [] {}, enter});
        });
        return all;
    };
    return {name, size, "ns", 1, enlist};
}

} // namespace

contestant contestant_of_two_ends(const std::string &name, const scene &s) {
    return contestant_of<renderer>(name, s);
}

std::vector<bench_case> renderer_cases() {
    std::vector<bench_case> cases;
    const auto name = [](const char *what, unsigned frame_length) {
        return std::string(what) + " L=" + std::to_string(frame_length);
    };
    for (const unsigned frame_length : {96u, 128u}) {
        for (unsigned sources = 1; sources <= 256; sources *= 2)
            cases.push_back(case_of(name("source-second", frame_length),
                                    {sources, frame_length, false, false}, "us", 1e-3 / sources));
        cases.push_back(case_of(name("ambisonic second", frame_length),
                                {25, frame_length, true, false}, "ms", 1e-6));
    }
    // Frames of 96 samples leave the 32 behind them that a crossfade needs.
    cases.push_back(
        case_of(name("moving source-second", 96), {16, 96, false, true}, "us", 1e-3 / 16));
    cases.push_back(end_case("front end L=96", 1, &renderer::front_end));
    cases.push_back(end_case("back end L=96", 2, &renderer::back_end));
    return cases;
}

} // namespace earshot_bench
