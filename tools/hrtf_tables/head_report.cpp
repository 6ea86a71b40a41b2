// How well a head tells what lies between its directions: every other one of the measurement is
// left out, a head is made of the rest, and what it says of those left out is compared with what
// was measured there. Fails when a figure misses its limit. README.md defines the figures.
//     head_report DIRECTORY
#include "layout.hpp"

#include "preparation/delays.hpp"
#include "preparation/fill.hpp"
#include "preparation/filters.hpp"
#include "preparation/head_file.hpp"
#include "preparation/measures.hpp"
#include "preparation/opened_head.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>

namespace hrtf {
namespace {

// A direction of the measurement with the responses of the diffuse set.
struct known {
    direction where;
    ear_pair ears;
};

struct checkerboard {
    std::vector<known> kept, left_out;
};

// Along each ring every other direction is kept; from ring to ring they take turns.
checkerboard read_board(const std::string &directory) {
    const words diffuse = read_words(directory + "/" + diffuse_file);
    checkerboard board;
    std::size_t record = 0, number = 0, ring = 0;
    double elevation = -90;
    for (const table_entry &entry : diffuse_directions()) {
        const std::int32_t *at = &diffuse[2 * words_per_filter * record++];
        if (!entry.measured) continue;
        const auto [azimuth, height] = entry.where;
        if (height != elevation) {
            elevation = height;
            number = 0;
            ++ring;
        }
        auto &half = (number++ + ring) % 2 == 0 || height == 90 ? board.kept : board.left_out;
        half.push_back({entry.where, {unpack(at), unpack(at + words_per_filter)}});
        if (azimuth > 0.01 && azimuth < 179.99)
            half.push_back({{360 - azimuth, height}, {half.back().ears[1], half.back().ears[0]}});
    }
    return board;
}

unit_vectors vectors_of(const std::vector<known> &all) {
    unit_vectors result;
    result.reserve(all.size());
    for (const known &one : all) result.push_back(vector_of(one.where));
    return result;
}

// With nothing but what is kept.
head_words make_head(const std::vector<known> &kept) {
    head_parts head;
    head.vertices = vectors_of(kept);
    head.measured = kept.size();
    const auto hull = triangulate(head.vertices);
    const unit_vectors measured = head.vertices;
    for (direction where : holes_between(hull, measured)) head.vertices.push_back(vector_of(where));
    head.hull = triangulate(head.vertices);
    head.ears.resize(head.vertices.size());
    for (std::size_t ear : {left, right}) {
        std::vector<spectrum> soft;
        soft.reserve(kept.size());
        for (const known &one : kept) soft.push_back(softened(one.ears[ear]));
        ear_filters made{{}, solve_delays(soft, measured, hull)};
        for (std::size_t v = 0; v < kept.size(); ++v)
            made.aligned.push_back(advanced(soft[v], made.delays[v]));
        fill_holes(made, head.vertices, areas_of(head.hull, head.vertices));
        for (std::size_t v = 0; v < head.vertices.size(); ++v) {
            head.ears[v][ear] = {static_cast<std::uint32_t>(head.records.size()), made.delays[v]};
            head.records.push_back(made.aligned[v]);
        }
    }
    return write_head(head);
}

// What is to be told of a direction: later by the same lead for all ways to tell it.
using teller = std::function<ear_pair(direction)>;

ear_pair later(const ear_pair &ears) {
    ear_pair result;
    for (std::size_t ear : {left, right}) {
        spectrum bins = forward(ears[ear], fft_size);
        delay(bins, opened_head::lead);
        result[ear] = inverse(bins);
    }
    return result;
}

struct figures {
    double time;  // median error, us
    double level; // third octaves, dB rms
};

figures measure(const std::vector<known> &left_out, const time_difference &times,
                const teller &tell) {
    std::vector<double> time_errors;
    double squares = 0;
    for (const known &one : left_out) {
        const ear_pair told = tell(one.where);
        time_errors.push_back(1e6 * std::abs(times(told) - times(one.ears)));
        for (std::size_t ear : {left, right}) {
            const auto is = powers(told[ear], table_rate), was = powers(one.ears[ear], table_rate);
            for (std::size_t band = 0; band < bands; ++band)
                squares += std::pow(decibels(is[band] / was[band]), 2);
        }
    }
    const auto middle = time_errors.begin() + static_cast<std::ptrdiff_t>(time_errors.size() / 2);
    std::ranges::nth_element(time_errors, middle);
    return {*middle, std::sqrt(squares / static_cast<double>(2 * bands * left_out.size()))};
}

bool report(const checkerboard &board) {
    const head_words words = make_head(board.kept);
    const opened_head head(words);
    const unit_vectors kept = vectors_of(board.kept);
    const auto hull = triangulate(kept);
    const teller linear = [&](direction where) {
        const unit_vector at = vector_of(where);
        const triangle &around = hull[find_triangle(hull, kept, at, 0)];
        auto shares = shares_in(around, kept, at);
        for (double &one : shares) one = std::max(0.0, one);
        const double sum = shares[0] + shares[1] + shares[2];
        ear_pair mixed{signal(fft_size), signal(fft_size)};
        for (std::size_t k = 0; k < 3; ++k) {
            const ear_pair &ears = board.kept[around.vertex[k]].ears;
            for (std::size_t ear : {left, right}) {
                for (std::size_t n = 0; n < fft_size; ++n)
                    mixed[ear][n] += shares[k] / sum * ears[ear][n];
            }
        }
        return later(mixed);
    };
    const teller nearest = [&](direction where) {
        const unit_vector at = vector_of(where);
        const auto found =
            std::ranges::max_element(kept, {}, [&](const auto &v) { return v.dot(at); });
        return later(board.kept[static_cast<std::size_t>(found - kept.begin())].ears);
    };
    std::vector<const ear_pair *> all;
    all.reserve(board.left_out.size());
    for (const known &one : board.left_out) all.push_back(&one.ears);
    const time_difference times(all, std::vector<double>(all.size(), 1), table_rate);

    constexpr double time_limit = 8, level_limit = 1.5;
    std::printf("%zu directions told by a head of %zu others\n", board.left_out.size(),
                board.kept.size());
    const auto line = [](const char *name, figures is) {
        std::printf("  %-36s %6.2f us median, %5.2f dB rms\n", name, is.time, is.level);
    };
    const figures own =
        measure(board.left_out, times, [&](direction w) { return head.responses(w); });
    line("a head", own);
    line("linear, responses as measured", measure(board.left_out, times, linear));
    line("the nearest direction", measure(board.left_out, times, nearest));
    std::printf("  limits for a head                    %6.2f us,        %5.2f dB\n", time_limit,
                level_limit);
    return own.time <= time_limit && own.level <= level_limit;
}

} // namespace
} // namespace hrtf

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fputs("usage: head_report DIRECTORY\n", stderr);
        return 1;
    }
    return hrtf::report(hrtf::read_board(argv[1])) ? 0 : 1;
}
