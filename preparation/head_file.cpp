#include "preparation/head_file.hpp"

#include "head/checksum.hpp"
#include "head/sections.hpp"
#include "preparation/filters.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace preparation {
namespace {

constexpr double q16 = 1 << 16, q21 = 1 << 21, q29 = 1 << 29, q30 = 1 << 30;

// The phases that bring a delay back are products of two numbers of 16 bits, of modulus 32767.
constexpr double phase_loss = (32768.0 / 32767) * (32768.0 / 32767);

s32 rounded(double value) { return static_cast<s32>(std::lround(value)); }

// What the loss of the phases and the rounding of its parts add to a gain below 4. Q16.
constexpr double gain_margin = 16;

u32 gain_of(double largest) { return static_cast<u32>(std::ceil(largest * q16 + gain_margin)); }

template <typename T> void append(head_words &all, const T &one) {
    static_assert(sizeof(T) % sizeof(u32) == 0);
    const std::size_t at = all.size();
    all.resize(at + sizeof(T) / sizeof(u32));
    std::memcpy(&all[at], &one, sizeof(T));
}

// Cut to its size with the zero byte at the end, between two characters of UTF-8.
std::string fitting(const std::string &name) {
    std::size_t size = std::min<std::size_t>(name.size(), earshot::head_name_size - 1);
    while (size > 0 && size < name.size() && (name[size] & 0xC0) == 0x80) --size;
    return name.substr(0, size);
}

earshot::head_header header_of(const head_parts &head) {
    earshot::head_header result{};
    result.magic = earshot::head_magic;
    result.version = earshot::head_version;
    result.vertices = static_cast<u32>(head.vertices.size());
    result.measured = static_cast<u32>(head.measured);
    result.triangles = static_cast<u32>(head.hull.size());
    result.records = static_cast<u32>(head.records.size());
    result.channels = static_cast<u32>(head.channels.size());
    result.size = static_cast<u32>(
        earshot::head_size(result.vertices, result.triangles, result.channels, result.records));
    fitting(head.name).copy(result.name, sizeof result.name - 1);
    return result;
}

void append_vertices(head_words &all, const head_parts &head) {
    std::vector<double> gains;
    for (const spectrum &one : head.records) gains.push_back(largest_gain(one));
    for (std::size_t v = 0; v < head.vertices.size(); ++v) {
        earshot::head_vertex vertex{};
        for (int axis = 0; axis < 3; ++axis)
            vertex.direction[axis] = rounded(head.vertices[v](axis) * q30);
        double most = 0;
        for (std::size_t ear : {left, right}) {
            vertex.record[ear] = head.ears[v][ear].record;
            vertex.delay[ear] = static_cast<u32>(rounded(head.ears[v][ear].delay * q16));
            most = std::max(most, gains[head.ears[v][ear].record]);
        }
        vertex.gain = gain_of(most);
        append(all, vertex);
    }
}

void append_triangles(head_words &all, const head_parts &head) {
    for (const triangle &one : head.hull) {
        earshot::head_triangle result{};
        for (std::size_t k = 0; k < 3; ++k) {
            const unit_vector &a = head.vertices[one.vertex[(k + 1) % 3]];
            const unit_vector normal = a.cross(head.vertices[one.vertex[(k + 2) % 3]]);
            for (int axis = 0; axis < 3; ++axis)
                result.normal[k][axis] = rounded(normal(axis) * q30);
            result.vertex[k] = one.vertex[k];
            result.neighbour[k] = one.neighbour[k];
        }
        append(all, result);
    }
}

void append_cells(head_words &all, const head_parts &head) {
    u32 near = 0;
    for (u32 row = 0; row < earshot::cell_rows; ++row) {
        for (u32 column = 0; column < earshot::cell_columns; ++column) {
            const direction centre{(column + 0.5) * 360 / earshot::cell_columns,
                                   (row + 0.5) * 180 / earshot::cell_rows - 90};
            near = find_triangle(head.hull, head.vertices, vector_of(centre), near);
            all.push_back(near);
        }
    }
}

void append_channels(head_words &all, const head_parts &head) {
    for (const auto &channel : head.channels) {
        earshot_filter_pair pair{};
        double most = 0;
        for (std::size_t ear : {left, right}) {
            const spectrum &bins = channel[ear];
            pair.ear[ear][0] = rounded(bins.front().real() * q29);
            pair.ear[ear][1] = rounded(bins.back().real() * q29);
            for (std::size_t k = 1; k + 1 < fft_bins; ++k) {
                pair.ear[ear][2 * k] = rounded(bins[k].real() * q29);
                pair.ear[ear][2 * k + 1] = rounded(bins[k].imag() * q29);
            }
            most = std::max(most, largest_gain(bins));
        }
        pair.gain = gain_of(most);
        append(all, pair);
    }
}

} // namespace

head_words write_geometry(const head_parts &head) {
    head_words all;
    append(all, header_of(head));
    append_vertices(all, head);
    append_triangles(all, head);
    append_cells(all, head);
    return all;
}

head_words write_record(const spectrum &bins) {
    head_words words;
    const auto put = [&](double value) {
        words.push_back(earshot::record_word(rounded(value * phase_loss * q21)));
    };
    put(bins.front().real());
    put(0);
    for (std::size_t k = 1; k + 1 < fft_bins; ++k) {
        put(bins[k].real());
        put(bins[k].imag());
    }
    return words;
}

head_words write_head(const head_parts &head) {
    head_words all = write_geometry(head);
    append_channels(all, head);
    for (const spectrum &one : head.records) {
        const head_words record = write_record(one);
        all.insert(all.end(), record.begin(), record.end());
    }
    constexpr std::size_t from = earshot::checksummed_from / sizeof(u32);
    all[from - 1] = earshot::checksum_of(reinterpret_cast<const unsigned char *>(&all[from]),
                                         (all.size() - from) * sizeof(u32));
    return all;
}

} // namespace preparation
