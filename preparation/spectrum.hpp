// Discrete Fourier transforms of real signals, and what is built on them.
#ifndef EARSHOT_PREPARATION_SPECTRUM_HPP
#define EARSHOT_PREPARATION_SPECTRUM_HPP

#include <complex>
#include <cstddef>
#include <vector>

namespace preparation {

using complex = std::complex<double>;
using signal = std::vector<double>;
using spectrum = std::vector<complex>; // bins 0 to length / 2 of a real signal of even length

// Transform of the signal with zeros appended up to length.
spectrum forward(const signal &samples, std::size_t length);

// The real signal of the spectrum, of 2 (bins - 1) samples. Scaled: inverse(forward(x)) is x.
signal inverse(const spectrum &bins);

// H at one frequency, in cycles per sample, of a signal of any length.
complex response(const signal &samples, double frequency);

// Multiplies by the spectrum of a delay (samples, any fraction; negative: an advance).
void delay(spectrum &bins, double samples);

// The minimum-phase spectrum of the magnitudes, from the folded real cepstrum
// (Oppenheim, Schafer: Discrete-Time Signal Processing, chapter on the cepstrum).
spectrum minimum_phase(const std::vector<double> &magnitudes);

} // namespace preparation

#endif
