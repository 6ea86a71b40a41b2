// The loops of the float yardsticks, compiled at -O3 for the machine that builds.
#ifndef EARSHOT_BENCH_FLOAT_LOOPS_HPP
#define EARSHOT_BENCH_FLOAT_LOOPS_HPP

namespace earshot_bench {

// The file is compiled for newer instructions than the rest: it includes nothing and shares no
// inline function that the linker could take from it.

// Adds the product of a spectrum with the filter of each ear to the spectrum of that ear.
void add_filtered(float *left, float *right, const float *spectrum, const float *left_filter,
                  const float *right_filter, int bins);
// samples[i] = (count - i) / count of old_samples[i], the rest of samples[i].
void fade_over(float *samples, const float *old_samples, int count);
// Floats of full scale 1 to Q31, clipped.
void to_q31(int *out, const float *in, int count);

struct mix_matrix {
    float m[4][4];
};

// Four channels of a sound field times a matrix, which in a ramp gains step with every sample.
void mix_steady(const mix_matrix &matrix, float *const *out, const float *const *in, int frames);
void mix_ramp(const mix_matrix &matrix, const mix_matrix &step, float *const *out,
              const float *const *in, int frames);
// The same ramp with every sample's matrix made from the first one, which compilers can vectorise;
// from the running one they cannot.
void mix_ramp_closed(const mix_matrix &matrix, const mix_matrix &step, float *const *out,
                     const float *const *in, int frames);

} // namespace earshot_bench

#endif
