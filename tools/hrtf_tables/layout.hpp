// The form of the tables: rows of azimuth records, and filters as packed words.
#ifndef EARSHOT_TOOLS_HRTF_LAYOUT_HPP
#define EARSHOT_TOOLS_HRTF_LAYOUT_HPP

#include "measurement.hpp"
#include "preparation/response.hpp"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace hrtf {

constexpr std::size_t words_per_filter = fft_size;

struct row {
    double elevation;    // degrees
    double step;         // degrees between its records
    std::size_t records; // azimuths 0 to 180 degrees
    bool measured;
};

// The steps of the rows at -40 and 40 degrees are those of the measurement, 56 to the circle.
constexpr std::array<row, 18> rows{{
    {-40, 360.0 / 56, 29, true},
    {-30, 6, 31, true},
    {-20, 5, 37, true},
    {-10, 5, 37, true},
    {0, 5, 37, true},
    {10, 5, 37, true},
    {20, 5, 37, true},
    {30, 6, 31, true},
    {32, 6, 31, false},
    {34, 6, 31, false},
    {36, 6, 31, false},
    {38, 6, 31, false},
    {40, 360.0 / 56, 29, true},
    {50, 8, 23, true},
    {60, 10, 19, true},
    {70, 15, 13, true},
    {80, 30, 7, true},
    {90, 360, 1, true},
}};

// What a record of a table set stands for.
struct table_entry {
    direction where;
    bool measured;
    ear_pair ears;
};

// The directions of the diffuse set in the order of its records, ears left empty.
std::vector<table_entry> diffuse_directions();

// The words of a filter in Q29: DC and Nyquist gain, then real and imaginary part of bins 1 to 127.
std::array<std::int32_t, words_per_filter> pack(const signal &samples);
signal unpack(const std::int32_t *words);

// The largest gain or part of a bin: what becomes the largest word.
double largest_part(const signal &samples);

using words = std::vector<std::int32_t>;

// Files hold the words one after the other, low byte first.
void write_words(const std::string &path, const words &all);
words read_words(const std::string &path);

extern const char *const diffuse_file; // names inside the directory of generated data
extern const char *const amb_file;

} // namespace hrtf

#endif
