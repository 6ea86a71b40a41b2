#include "layout.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>

namespace hrtf {
namespace {

constexpr double q29 = 1 << 29;

std::int32_t to_q29(double value) { return static_cast<std::int32_t>(std::lround(value * q29)); }

} // namespace

const char *const diffuse_file = "diffuse.bin";
const char *const amb_file = "amb.bin";

std::vector<table_entry> diffuse_directions() {
    std::vector<table_entry> all;
    for (const row &r : rows) {
        for (std::size_t j = 0; j < r.records; ++j) {
            all.push_back({{static_cast<double>(j) * r.step, r.elevation}, r.measured, {}});
        }
    }
    return all;
}

std::array<std::int32_t, words_per_filter> pack(const signal &samples) {
    const spectrum bins = forward(samples, fft_size);
    std::array<std::int32_t, words_per_filter> result{};
    result[0] = to_q29(bins.front().real());
    result[1] = to_q29(bins.back().real());
    for (std::size_t k = 1; k < fft_size / 2; ++k) {
        result[2 * k] = to_q29(bins[k].real());
        result[2 * k + 1] = to_q29(bins[k].imag());
    }
    return result;
}

signal unpack(const std::int32_t *filter) {
    spectrum bins(fft_size / 2 + 1);
    bins.front() = filter[0] / q29;
    bins.back() = filter[1] / q29;
    for (std::size_t k = 1; k < fft_size / 2; ++k) {
        bins[k] = {filter[2 * k] / q29, filter[2 * k + 1] / q29};
    }
    return inverse(bins);
}

double largest_part(const signal &samples) {
    double most = 0;
    for (const complex &bin : forward(samples, fft_size)) {
        most = std::max({most, std::abs(bin.real()), std::abs(bin.imag())});
    }
    return most;
}

void write_words(const std::string &path, const words &all) {
    std::ofstream out(path, std::ios::binary);
    for (const std::int32_t word : all) {
        const auto bits = static_cast<std::uint32_t>(word);
        for (unsigned shift = 0; shift < 32; shift += 8) {
            out.put(static_cast<char>(bits >> shift & 0xFF));
        }
    }
    out.close();
    if (!out) fail("cannot write " + path);
}

words read_words(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    words all;
    std::array<unsigned char, 4> bytes{};
    while (in.read(reinterpret_cast<char *>(bytes.data()), bytes.size())) {
        all.push_back(static_cast<std::int32_t>(
            std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
            std::uint32_t{bytes[3]} << 24));
    }
    if (all.empty() || in.gcount() != 0) fail("cannot read " + path);
    return all;
}

} // namespace hrtf
