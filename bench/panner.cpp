// a3d_buffer32_fill_panner, one sample a frame: a ramp over the whole block with the setup that
// starts it, and a gain at rest.
#include "cases.hpp"

#include <earshot/spatial.h>

namespace earshot_bench {
namespace {

constexpr s16 target = 16384;

class panner_run {
  public:
    panner_run(s32 frames, bool ramps)
        : frames_(frames), ramps_(ramps), in_(noise(static_cast<std::size_t>(frames), 2)),
          out_(in_.size()) {}
    void process(unsigned calls) {
        for (unsigned i = 0; i < calls; ++i) {
            a3d_panner panner = {0, 0, 0, 0, 0};
            a3d_panner_setup(&panner, target, ramps_ ? frames_ : 0, 0);
            a3d_buffer32_fill_panner(out_.data(), in_.data(), &panner, frames_, 1);
        }
    }
    const buffer<s32> &output() const { return out_; }
    buffer<double> expected() const {
        buffer<double> samples = converted<double>(in_);
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] *= target / unit<s16> * (ramps_ ? static_cast<double>(i) / frames_ : 1);
        return samples;
    }

  private:
    s32 frames_;
    bool ramps_;
    buffer<s32> in_, out_;
};

std::vector<contestant> contestants_of(s32 frames, bool ramps) {
    std::vector<contestant> all;
    on_every_isa([&](const char *isa, auto enter) {
        const auto run = std::make_shared<panner_run>(frames, ramps);
        contestant c;
        c.name = isa;
        c.run = [=](unsigned calls) { run->process(calls); };
        c.check = [=] {
            run->process(1);
            compare(run->output(), 1, run->expected());
        };
        c.enter = enter;
        all.push_back(c);
    });
    return all;
}

} // namespace

std::vector<bench_case> panner_cases() {
    std::vector<bench_case> cases;
    for (const bool ramps : {false, true})
        for (const s32 frames : {96, 1024})
            cases.push_back({ramps ? "panner ramp" : "panner steady", static_cast<unsigned>(frames),
                             "ns", 1, [=] { return contestants_of(frames, ramps); }});
    return cases;
}

} // namespace earshot_bench
