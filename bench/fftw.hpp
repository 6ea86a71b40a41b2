// FFTW's transforms of floats. Sums without a factor in both directions; the real inverse
// overwrites its input.
#ifndef EARSHOT_BENCH_FFTW_HPP
#define EARSHOT_BENCH_FFTW_HPP

#include "shape.hpp"

#include <fftw3.h>

namespace earshot_bench {

class fftw_transform {
  public:
    using sample = float;
    explicit fftw_transform(const shape &s) : shape_(s) {
        // Planning for speed tries the alternatives on memory aligned as that of the cases.
        buffer<float> in(s.words_in()), out(s.words_out());
        fftwf_complex *complex_in = as_complex(in.data()), *complex_out = as_complex(out.data());
        const int n = static_cast<int>(s.n);
        if (!s.real)
            plan_ = fftwf_plan_dft_1d(n, complex_in, complex_out,
                                      s.inverse ? FFTW_BACKWARD : FFTW_FORWARD, FFTW_PATIENT);
        else if (s.inverse)
            plan_ = fftwf_plan_dft_c2r_1d(n, complex_in, out.data(), FFTW_PATIENT);
        else
            plan_ = fftwf_plan_dft_r2c_1d(n, in.data(), complex_out, FFTW_PATIENT);
        if (plan_ == nullptr) throw std::runtime_error("FFTW has no plan");
    }
    fftw_transform(const fftw_transform &) = delete;
    ~fftw_transform() { fftwf_destroy_plan(plan_); }

    void operator()(float *in, float *out) const {
        if (!shape_.real)
            fftwf_execute_dft(plan_, as_complex(in), as_complex(out));
        else if (shape_.inverse)
            fftwf_execute_dft_c2r(plan_, as_complex(in), out);
        else
            fftwf_execute_dft_r2c(plan_, in, as_complex(out));
    }

  private:
    static fftwf_complex *as_complex(float *p) { return reinterpret_cast<fftwf_complex *>(p); }
    shape shape_;
    fftwf_plan plan_ = nullptr;
};

} // namespace earshot_bench

#endif
