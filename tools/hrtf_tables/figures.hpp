// How good the tables are: every figure by one method on both sides of the comparison.
#ifndef EARSHOT_TOOLS_HRTF_FIGURES_HPP
#define EARSHOT_TOOLS_HRTF_FIGURES_HPP

#include "layout.hpp"
#include "measurement.hpp"
#include "preparation/measures.hpp"

#include <limits>
#include <string>
#include <vector>

namespace hrtf {

// The tables as read back.
struct table_set {
    std::vector<table_entry> diffuse; // all records, responses of fft_size samples
    std::vector<ear_pair> amb;        // by channel
    // The ears that the amb set gives a plane wave.
    ear_pair decode(direction where) const;
};
table_set unpack_tables(const words &diffuse, const words &amb);

constexpr double no_limit = std::numeric_limits<double>::infinity();

struct figure {
    const char *name;
    double value;
    double limit; // value must not be above it; a negative value not below minus it either
    const char *unit;
};

std::vector<figure> diffuse_figures(const measurement &measured, const table_set &tables);
std::vector<figure> amb_figures(const measurement &measured, const table_set &tables);
std::vector<figure> word_figures(const words &diffuse, const words &amb, const table_set &tables);

} // namespace hrtf

#endif
