// The renderer whose headroom follows the signal: sources that stand beside hrtf.h's two ends, and
// sources whose filters change with every frame beside those that stand. The reference runs at the
// best instruction set of the processor.
#include "frames.hpp"

#include <earshot/binaural.h>
#include <earshot/hrtf.h>

#include <functional>

namespace earshot_bench {
namespace {

constexpr unsigned directions = 360 / azimuth_step;

earshot_filter_pair filters_at(unsigned azimuth) {
    const hrtf_config config = {0};
    hrtf_instance memory, *hrtf = nullptr;
    hrtf_init(&hrtf, 1, &config, &memory, sizeof memory);
    hrtf_position position = {0, static_cast<s32>(azimuth << 16), 0};
    hrtf_filter_pair found;
    hrtf_selection(hrtf, &position, &found);
    earshot_filter_pair pair{};
    for (unsigned ear = 0; ear < 2; ++ear) std::copy_n(found.ear[ear], fft_size, pair.ear[ear]);
    pair.gain = 4 << 16; // the tables' largest is 3.38
    return pair;
}

class binaural_renderer {
  public:
    explicit binaural_renderer(const scene &s) : scene_(s), input_(s.input()) {
        for (unsigned i = 0; i < directions; ++i) filters_.push_back(filters_at(azimuth_step * i));
        const earshot_binaural_config config = {s.sources, s.frame_length, half};
        std::size_t size = 0;
        earshot_binaural_get_size(&config, &size);
        memory_.resize(size / sizeof(s64) + 1);
        earshot_binaural_init(&renderer_, &config, memory_.data(), size);
        for (u32 i = 0; i < s.sources; ++i) inputs_.push_back(&input_[std::size_t{i} * fft_size]);
        mixed_.resize(2 * std::size_t{s.frame_length});
        set_filters();
    }
    void render_frame() {
        if (scene_.moving) set_filters();
        earshot_binaural_process(renderer_, inputs_.data(), mixed_.data(), &exponent_);
        ++frame_;
    }
    buffer<s32> output(unsigned ear) const {
        buffer<s32> samples;
        for (std::size_t i = ear; i < mixed_.size(); i += 2)
            samples.push_back(static_cast<s32>(std::lround(std::ldexp(mixed_[i], exponent_))));
        return samples;
    }

  private:
    void set_filters() {
        for (u32 s = 0; s < scene_.sources; ++s) {
            const unsigned direction = scene_.azimuth_of(s, frame_) / azimuth_step;
            earshot_binaural_set(renderer_, s, &filters_[direction]);
        }
    }

    scene scene_;
    unsigned frame_ = 0;
    std::vector<earshot_filter_pair> filters_;
    buffer<s64> memory_;
    buffer<s32> input_, mixed_;
    std::vector<const s32 *> inputs_;
    earshot_binaural *renderer_ = nullptr;
    s32 exponent_ = 0;
};

// Of moving sources the last samples: there both kinds of fades are over.
contestant contestant_of(const std::string &name, const scene &s) {
    return contestant_of<binaural_renderer>(name, s,
                                            s.moving ? compared::last_sample : compared::all);
}

bench_case case_of(const char *name, const scene &s, const std::function<contestant()> &beside) {
    const auto enlist = [=] {
        std::vector<contestant> all;
        std::function<void()> enter_best;
        on_every_isa([&](const char *isa, auto enter) {
            all.push_back(contestant_of(isa, s));
            all.back().enter = enter_best = enter;
        });
        all.push_back(beside());
        all.back().enter = enter_best;
        return all;
    };
    return {name, s.sources, "us", 1e-3 / s.sources * s.frames_per_second(), enlist};
}

} // namespace

std::vector<bench_case> binaural_cases() {
    const scene still = {16, 96, false, false}, moving = {16, 96, false, true};
    return {case_of("binaural still L=96", still,
                    [=] { return contestant_of_two_ends("two ends", still); }),
            case_of("binaural moving L=96", moving, [=] { return contestant_of("still", still); })};
}

} // namespace earshot_bench
