// hoa_effect_process on blocks of 16- and 32-bit samples, within a ramp and after it
// (steady), beside float loops that do the same.
#include "cases.hpp"
#include "float_loops.hpp"

#include <earshot/hoa_effect.h>

#include <algorithm>

namespace earshot_bench {
namespace {

constexpr unsigned channels = 4;
// Instances that ramp in turn: turning one takes a while, and that is not timed.
constexpr unsigned instances = 4;

struct block {
    unsigned bits, frames;
    bool ramp;

    // From channel to channel: a little more than their length, for streams that lie a multiple of
    // 4 KiB apart get into each other's way.
    std::size_t stride() const { return frames + 16; }
};

// Four channels in, four channels out. Some headroom: what saturates is no product of a matrix.
template <class Sample> struct channel_buffers {
    explicit channel_buffers(const block &b)
        : in(converted<Sample>(noise(channels * b.stride(), 2))), out(in.size()) {
        for (unsigned c = 0; c < channels; ++c) {
            in_at[c] = &in[c * b.stride()];
            out_at[c] = &out[c * b.stride()];
        }
    }
    buffer<Sample> in, out;
    Sample *in_at[channels], *out_at[channels];
};

struct instance {
    explicit instance(const block &b) {
        const hoa_effect_config config = {48000, 1, 0, 0, b.bits, 0};
        hoa_effect_requirement need{};
        hoa_effect_get_req(0, &need, sizeof need, 1, &config, sizeof config);
        memory.resize((need.static_size + 7) / 8);
        hoa_effect_init(&effect, 1, &config, sizeof config, memory.data(), need.static_size);
    }
    void turn() {
        const s32 rotation[] = {(angle += 65536) % HOA_EFFECT_MAX_YAW, 20 * 65536};
        hoa_effect_set(effect, HOA_EFFECT_PARAM_ROTATION, rotation, sizeof rotation);
    }
    s32 angle = 0;
    buffer<s64> memory;
    hoa_effect_state *effect = nullptr;
};

mix_matrix float_of(s32 *const *rows) {
    mix_matrix result;
    for (unsigned i = 0; i < channels; ++i)
        for (unsigned k = 0; k < channels; ++k)
            result.m[i][k] = static_cast<float>(rows[i][k] / unit<s32>);
    return result;
}

template <class Sample> class effect_run {
  public:
    explicit effect_run(const block &b) : block_(b), buffers_(b) {
        for (unsigned i = 0; i < instances; ++i) made_.emplace_back(b);
        turn_all();
        while (!b.ramp && made_[0].effect->ramp_pos < HOA_EFFECT_RAMP_FRAMES) process(instances);
    }
    void turn_all() {
        for (instance &i : made_) i.turn();
    }
    void process(unsigned calls) {
        void *in_at[channels], *out_at[channels];
        std::copy_n(buffers_.in_at, channels, in_at);
        std::copy_n(buffers_.out_at, channels, out_at);
        const hoa_effect_buffer in = {block_.frames, channels, in_at};
        hoa_effect_buffer out = {0, channels, out_at};
        for (unsigned i = 0; i < calls; ++i)
            hoa_effect_process(made_[i % instances].effect, HOA_EFFECT_OUT_TAG, &out, sizeof out,
                               HOA_EFFECT_IN_TAG, &in, sizeof in);
    }
    const hoa_effect_state &effect() const { return *made_[0].effect; }
    const buffer<Sample> &output() const { return buffers_.out; }

  private:
    block block_;
    channel_buffers<Sample> buffers_;
    std::vector<instance> made_;
};

// The same with floats: matrix and step are those of an effect.
class float_run {
  public:
    enum kind { steady, ramp, ramp_closed };
    float_run(const block &b, kind k) : kind_(k), frames_(static_cast<int>(b.frames)), buffers_(b) {
        const effect_run<s32> model(b);
        start_ = float_of(k == steady ? model.effect().target : model.effect().current);
        step_ = float_of(model.effect().step);
    }
    void process(unsigned calls) {
        for (unsigned i = 0; i < calls; ++i) {
            if (kind_ == steady)
                mix_steady(start_, buffers_.out_at, buffers_.in_at, frames_);
            else if (kind_ == ramp)
                mix_ramp(start_, step_, buffers_.out_at, buffers_.in_at, frames_);
            else
                mix_ramp_closed(start_, step_, buffers_.out_at, buffers_.in_at, frames_);
        }
    }
    const buffer<float> &output() const { return buffers_.out; }

  private:
    kind kind_;
    int frames_;
    channel_buffers<float> buffers_;
    mix_matrix start_, step_;
};

// What the block must become, from the matrix before it.
buffer<double> expected(const block &b) {
    const effect_run<s32> model(b);
    const mix_matrix m = float_of(b.ramp ? model.effect().current : model.effect().target);
    const mix_matrix step = float_of(model.effect().step);
    const channel_buffers<double> data(b);
    buffer<double> out(channels * b.stride());
    for (unsigned i = 0; i < channels; ++i)
        for (unsigned t = 0; t < b.frames; ++t) {
            const double steps = b.ramp ? t + 1 : 0;
            double sum = 0;
            for (unsigned k = 0; k < channels; ++k)
                sum += data.in_at[k][t] * (m.m[i][k] + steps * step.m[i][k]);
            out[i * b.stride() + t] = sum;
        }
    return out;
}

template <class Sample> contestant effect_contestant(const std::string &name, const block &b) {
    const auto run = std::make_shared<effect_run<Sample>>(b);
    contestant c;
    c.name = name;
    c.run = [=](unsigned calls) { run->process(calls); };
    c.check = [=] {
        effect_run<Sample> fresh(b);
        fresh.process(1);
        compare(fresh.output(), 1, expected(b));
    };
    if (b.ramp) {
        c.refill = [=] { run->turn_all(); };
        c.batch = instances * HOA_EFFECT_RAMP_FRAMES / b.frames;
    }
    return c;
}

contestant float_contestant(const std::string &name, const block &b, float_run::kind kind) {
    const auto run = std::make_shared<float_run>(b, kind);
    contestant c;
    c.name = name;
    c.run = [=](unsigned calls) { run->process(calls); };
    c.check = [=] {
        run->process(1);
        compare(run->output(), 1, expected(b));
    };
    return c;
}

std::vector<contestant> contestants_of(const block &b) {
    std::vector<contestant> all;
    on_every_isa([&](const char *isa, auto enter) {
        all.push_back(b.bits == 16 ? effect_contestant<s16>(isa, b)
                                   : effect_contestant<s32>(isa, b));
        all.back().enter = enter;
    });
    all.push_back(float_contestant("float", b, b.ramp ? float_run::ramp : float_run::steady));
    if (b.ramp) all.push_back(float_contestant("float-closed", b, float_run::ramp_closed));
    return all;
}

bench_case case_of(const block &b) {
    const std::string name =
        "effect " + std::to_string(b.bits) + " bits " + (b.ramp ? "ramp" : "steady");
    return {name, b.frames, "ns", 1, [=] { return contestants_of(b); }};
}

} // namespace

std::vector<bench_case> effect_cases() {
    std::vector<bench_case> cases;
    for (const unsigned bits : {32u, 16u})
        for (const bool ramp : {false, true})
            for (const unsigned frames : {64u, 1024u})
                cases.push_back(case_of({bits, frames, ramp}));
    return cases;
}

} // namespace earshot_bench
