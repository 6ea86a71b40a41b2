// Complex and real transforms beside FFTW (float) and libavutil (32-bit integer).
#if defined(EARSHOT_BENCH_FFTW)
#include "fftw.hpp"
#endif
#if defined(EARSHOT_BENCH_AVUTIL)
#include "avutil.hpp"
#endif
#include "shape.hpp"

#include "fft/tables.hpp"

#include <earshot/fft.h>

#include <algorithm>
#include <complex>
#include <numbers>

namespace earshot_bench {
namespace {

// The inverse is the scaled one: its sums have the factor 1/n.
class earshot_transform {
  public:
    using sample = s32;
    explicit earshot_transform(const shape &s) : shape_(s) {}
    void operator()(s32 *in, s32 *out) const {
        const s32 n = static_cast<s32>(shape_.n);
        const s32 *twiddles = &earshot::fft_twiddles[0][0];
        const s32 *recombine_twiddles = &earshot::fft_recombine_twiddles[0][0];
        if (!shape_.real)
            (shape_.inverse ? cmplxifft32x32_scaled : cmplxfft32x32)(in, n, twiddles, out);
        else if (shape_.inverse)
            Vorkel_rifft_32x32_scaled(in, n, twiddles, recombine_twiddles, 1024 / n, out);
        else
            Vorkel_rfft_32x32(in, n, twiddles, recombine_twiddles, 1024 / n, out);
    }

  private:
    shape shape_;
};

// The transform by its definition, without a factor.
buffer<double> expected(const shape &s, const buffer<double> &in) {
    const unsigned n = s.n;
    std::vector<std::complex<double>> x(n), y(n), root(n);
    for (unsigned i = 0; i < n; ++i) {
        root[i] = std::polar(1.0, (s.inverse ? 2 : -2) * std::numbers::pi * i / n);
        if (!s.real || (s.inverse && i <= n / 2))
            x[i] = {in[2 * i], in[2 * i + 1]};
        else
            x[i] = s.inverse ? std::conj(x[n - i]) : in[i];
    }
    buffer<double> out;
    for (unsigned k = 0; k < n; ++k) {
        for (unsigned i = 0; i < n; ++i) y[k] += x[i] * root[i * k % n];
        out.push_back(y[k].real());
        if (!s.real || !s.inverse) out.push_back(y[k].imag());
    }
    out.resize(s.words_out());
    return out;
}

// With this much headroom nothing can overflow, as a glance at the input tells. An impulse leaves
// two bits, and overflows nothing either.
buffer<s32> input_of(const shape &s, bool loud) {
    buffer<s32> in = noise(s.words_in(), 12);
    if (loud) in[0] = 1 << 29;
    if (s.real && s.inverse) {
        in[1] = in[s.n + 1] = 0;
        // libavutil 57 halves this bin. Its transform is right without it, and no shorter.
        in[s.n / 2] = in[s.n / 2 + 1] = 0;
    }
    return in;
}

// Every call of a batch has an input of its own, so that one that overwrites it can go on; all of
// them together stay in the first-level cache.
template <class Sample> struct workspace {
    workspace(const shape &s, const buffer<s32> &input)
        : step((s.words_in() + 15) / 16 * 16),
          inputs(static_cast<unsigned>(std::max<std::size_t>(1, 6144 / step))),
          pristine(step * inputs), in(pristine), out(s.words_out()) {
        const buffer<Sample> one = converted<Sample>(input);
        for (unsigned i = 0; i < inputs; ++i)
            std::copy(one.begin(), one.end(), pristine.data() + i * step);
    }
    void refill() { std::copy(pristine.begin(), pristine.end(), in.begin()); }
    std::size_t step;
    unsigned inputs;
    buffer<Sample> pristine, in, out;
};

template <class Transform>
contestant contestant_of(const std::string &name, const shape &s, const buffer<s32> &input,
                         double factor) {
    using memory = workspace<typename Transform::sample>;
    const auto work = std::make_shared<memory>(s, input);
    const auto transform = std::make_shared<const Transform>(s);
    contestant c;
    c.name = name;
    c.run = [=](unsigned calls) {
        for (unsigned i = 0; i < calls; ++i)
            (*transform)(work->in.data() + i * work->step, work->out.data());
    };
    c.refill = [=] { work->refill(); };
    c.batch = work->inputs;
    c.check = [=] {
        work->refill();
        (*transform)(work->in.data(), work->out.data());
        compare(work->out, factor, expected(s, converted<double>(input)));
    };
    return c;
}

std::vector<contestant> contestants_of(const shape &s, bool loud) {
    const buffer<s32> input = input_of(s, loud);
    std::vector<contestant> all;
    on_every_isa([&](const char *isa, auto enter) {
        all.push_back(contestant_of<earshot_transform>(isa, s, input, s.inverse ? s.n : 1));
        all.back().enter = enter;
    });
#if defined(EARSHOT_BENCH_FFTW)
    all.push_back(contestant_of<fftw_transform>("fftw", s, input, 1));
#endif
#if defined(EARSHOT_BENCH_AVUTIL)
    all.push_back(contestant_of<avutil_transform>("libavutil", s, input, 1));
#endif
    return all;
}

bench_case case_of(const std::string &name, const shape &s, bool loud) {
    return {name, s.n, "ns", 1, [=] { return contestants_of(s, loud); }};
}

} // namespace

std::vector<bench_case> transform_cases() {
    std::vector<bench_case> cases;
    for (unsigned n = 64; n <= 1024; n *= 2) {
        cases.push_back(case_of("complex forward", {n, false, false}, false));
        cases.push_back(case_of("complex inverse", {n, false, true}, false));
    }
    for (unsigned n = 32; n <= 1024; n *= 2) {
        cases.push_back(case_of("real forward", {n, true, false}, false));
        cases.push_back(case_of("real inverse", {n, true, true}, false));
    }
    cases.push_back(case_of("complex forward loud", {128, false, false}, true));
    cases.push_back(case_of("real forward loud", {256, true, false}, true));
    return cases;
}

} // namespace earshot_bench
