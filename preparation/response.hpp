// What a head's filters are: responses of the two ears, of a fixed length at a fixed rate.
#ifndef EARSHOT_PREPARATION_RESPONSE_HPP
#define EARSHOT_PREPARATION_RESPONSE_HPP

#include "preparation/spectrum.hpp"

#include <array>
#include <cstddef>

namespace preparation {

constexpr double table_rate = 48000; // Hz
constexpr std::size_t taps = 128;    // a longer response would alias in the overlapped blocks
constexpr std::size_t fft_size = 256;
constexpr std::size_t fft_bins = fft_size / 2 + 1;
constexpr std::size_t amb_channels = 25;

constexpr std::size_t left = 0, right = 1;
using ear_pair = std::array<signal, 2>;

} // namespace preparation

#endif
