// hoa_effect_process: 16- and 32-bit samples, ramp and steady section, short to long blocks.
#include "bench.hpp"

#include <earshot/hoa_effect.h>

namespace earshot_bench {
namespace {

// An instance and random samples. A gliding case sets a rotation before every 1024 samples, so that
// whatever the block length, only ramp samples are processed.
class effect_run {
  public:
    effect_run(u32 bits, u32 frames) : frames_(frames) {
        const hoa_effect_config config = {48000, 1, 0, 0, bits, 0};
        hoa_effect_requirement need{};
        hoa_effect_get_req(0, &need, sizeof need, 1, &config, sizeof config);
        memory_.resize((need.static_size + 7) / 8);
        hoa_effect_init(&effect_, 1, &config, sizeof config, memory_.data(), need.static_size);
        samples_ = noise(8 * static_cast<std::size_t>(frames), 0);
        for (u32 c = 0; c < 4; ++c) {
            in_[c] = &samples_[std::size_t{c} * frames];
            out_[c] = &samples_[std::size_t{c + 4} * frames];
        }
    }
    bool glide_is_over() const { return effect_->ramp_pos == HOA_EFFECT_RAMP_FRAMES; }
    void turn() {
        const s32 rotation[] = {(angle_ += 65536) % HOA_EFFECT_MAX_YAW, 20 * 65536};
        hoa_effect_set(effect_, HOA_EFFECT_PARAM_ROTATION, rotation, sizeof rotation);
    }
    void process() {
        const hoa_effect_buffer in = {frames_, 4, in_};
        hoa_effect_buffer out = {0, 4, out_};
        hoa_effect_process(effect_, HOA_EFFECT_OUT_TAG, &out, sizeof out, HOA_EFFECT_IN_TAG, &in,
                           sizeof in);
        benchmark::ClobberMemory();
    }

  private:
    u32 frames_;
    s32 angle_ = 0;
    std::vector<s64> memory_;
    std::vector<s32> samples_;
    void *in_[4], *out_[4];
    hoa_effect_state *effect_ = nullptr;
};

void process(benchmark::State &state, u32 bits, u32 frames, bool glide) {
    effect_run run(bits, frames);
    run.turn();
    while (!glide && !run.glide_is_over()) run.process();
    for (auto _ : state) {
        // Setting a parameter takes far less time than 1024 samples; pausing the clock would not.
        if (glide && run.glide_is_over()) run.turn();
        run.process();
    }
    state.SetItemsProcessed(state.iterations() * frames);
}

} // namespace

void register_hoa_effect() {
    for (const bool glide : {false, true})
        for (const u32 bits : {16u, 32u})
            for (const u32 frames : {64u, 256u, 1024u})
                register_at_every_level(
                    "effect, " + std::to_string(bits) + " bits, " +
                        (glide ? "ramp, " : "steady, ") + std::to_string(frames),
                    [=](benchmark::State &state) { process(state, bits, frames, glide); });
}

} // namespace earshot_bench
