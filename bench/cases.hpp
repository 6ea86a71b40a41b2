// What the cases share: memory, noise, the instruction sets of this processor, the check of a
// result.
#ifndef EARSHOT_BENCH_CASES_HPP
#define EARSHOT_BENCH_CASES_HPP

#include "bench/pairing.hpp"
#include "kernel/isa.hpp"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <random>
#include <stdexcept>

namespace earshot_bench {

std::vector<bench_case> transform_cases();
std::vector<bench_case> renderer_cases();
std::vector<bench_case> head_cases();
std::vector<bench_case> binaural_cases();
std::vector<bench_case> effect_cases();
std::vector<bench_case> field_cases();
std::vector<bench_case> panner_cases();

// Memory that every contestant finds equally well aligned.
template <class T> struct line_aligned {
    using value_type = T;
    line_aligned() = default;
    template <class U> line_aligned(const line_aligned<U> &) {}
    T *allocate(std::size_t n) {
        return static_cast<T *>(::operator new (n * sizeof(T), std::align_val_t{64}));
    }
    void deallocate(T *p, std::size_t) { ::operator delete (p, std::align_val_t{64}); }
    template <class U> bool operator==(const line_aligned<U> &) const { return true; }
};
template <class T> using buffer = std::vector<T, line_aligned<T>>;

// What stands for 1.0 in a sample.
template <class T> constexpr double unit = 1;
template <> inline constexpr double unit<s16> = 32768.0;
template <> inline constexpr double unit<s32> = 2147483648.0;

// Noise with headroom, the same in every run.
inline buffer<s32> noise(std::size_t words, int headroom_bits) {
    std::mt19937 random(1);
    buffer<s32> samples(words);
    for (s32 &s : samples) s = static_cast<s32>(random()) >> headroom_bits;
    return samples;
}

template <class To, class From> buffer<To> converted(const buffer<From> &from) {
    buffer<To> to;
    for (const From x : from)
        to.push_back(static_cast<To>(static_cast<double>(x) / unit<From> * unit<To>));
    return to;
}

// Calls add(name, enter) for every instruction set of this processor; enter makes it the active
// one.
template <class Add> void on_every_isa(Add add) {
    for (const earshot::isa i : earshot::all_isas)
        if (earshot::is_available(i)) add(earshot::name_of(i), [i] { earshot::force_isa(i); });
}

// Throws unless factor x got is expected within a thousandth of the largest value: rounding in 32
// bits stays far below that, a wrong transform, filter or matrix does not.
template <class T>
void compare(const buffer<T> &got, double factor, const buffer<double> &expected) {
    double peak = 0, error = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const double value = static_cast<double>(got[i]) / unit<T> * factor;
        peak = std::max(peak, std::abs(expected[i]));
        // Not std::max, which would drop a value that is not a number.
        if (!(std::abs(value - expected[i]) <= error)) error = std::abs(value - expected[i]);
    }
    if (!(error <= peak / 1000))
        throw std::runtime_error("wrong by " + std::to_string(error) + ", largest value " +
                                 std::to_string(peak));
}

} // namespace earshot_bench

#endif
