/*
 * A head for tests: the directions of an octahedron whose faces are parted again and again, an ear
 * on either side of a ball, filters and delays that change smoothly from direction to direction.
 */
#ifndef EARSHOT_TESTS_HEAD_MADE_HEAD_HPP
#define EARSHOT_TESTS_HEAD_MADE_HEAD_HPP

#include "head/checksum.hpp"
#include "head/sections.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace earshot::test {

using point = std::array<double, 3>;

inline double dot(const point &a, const point &b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
inline point cross(const point &a, const point &b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline point normalised(const point &a) {
    const double length = std::sqrt(dot(a, a));
    return {a[0] / length, a[1] / length, a[2] / length};
}
/* Of angles in degrees, Q16. */
inline point direction_of(double azimuth, double elevation) {
    const double degree = std::acos(-1.0) / 180 / 65536;
    const double a = azimuth * degree, e = elevation * degree;
    return {std::cos(e) * std::cos(a), std::cos(e) * std::sin(a), std::sin(e)};
}

struct mesh {
    std::vector<point> vertices;
    std::vector<std::array<u32, 3>> triangles;
};

inline mesh octahedron(int divisions) {
    mesh m{{{1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}}, {}};
    for (u32 k = 0; k < 4; ++k) {
        m.triangles.push_back({k, (k + 1) % 4, 4});
        m.triangles.push_back({(k + 1) % 4, k, 5});
    }
    for (; divisions > 0; --divisions) {
        std::map<std::pair<u32, u32>, u32> middles;
        const auto middle = [&](u32 a, u32 b) -> u32 {
            const std::pair<u32, u32> key = std::minmax(a, b);
            if (const auto known = middles.find(key); known != middles.end()) return known->second;
            point sum{};
            for (u32 c = 0; c < 3; ++c) sum[c] = m.vertices[a][c] + m.vertices[b][c];
            m.vertices.push_back(normalised(sum));
            return middles[key] = static_cast<u32>(m.vertices.size() - 1);
        };
        std::vector<std::array<u32, 3>> parts;
        for (const auto &[a, b, c] : m.triangles) {
            const u32 ab = middle(a, b), bc = middle(b, c), ca = middle(c, a);
            parts.insert(parts.end(), {{a, ab, ca}, {ab, b, bc}, {ca, bc, c}, {ab, bc, ca}});
        }
        m.triangles = parts;
    }
    return m;
}

/* A head that earshot_head_open takes, in words that may be changed. */
class made_head {
  public:
    explicit made_head(int divisions, u32 channels = 0) : mesh_(octahedron(divisions)) {
        const u32 v = static_cast<u32>(mesh_.vertices.size());
        const u32 t = static_cast<u32>(mesh_.triangles.size());
        words_.resize(static_cast<size_t>(head_size(v, t, channels, 2 * v)) / sizeof(u32));
        header() = {head_magic, head_version, static_cast<u32>(size()), 0, v, v, t, 2 * v,
                    channels,   {},           "made for a test"};
        make_vertices();
        make_triangles();
        make_cells();
        for (u32 c = 0; c < channels; ++c) make_channel(channel_pairs()[c], c);
        repair();
    }

    const mesh &shape() const { return mesh_; }
    size_t size() const { return words_.size() * sizeof(u32); }
    unsigned char *bytes() { return reinterpret_cast<unsigned char *>(words_.data()); }
    head_header &header() { return *reinterpret_cast<head_header *>(words_.data()); }
    head_vertex *vertices() { return const_cast<head_vertex *>(sections().vertices); }
    head_triangle *triangles() { return const_cast<head_triangle *>(sections().triangles); }
    u32 *nearby() { return const_cast<u32 *>(sections().nearby); }
    s32 *records() { return const_cast<s32 *>(sections().records); }
    earshot_filter_pair *channel_pairs() {
        return const_cast<earshot_filter_pair *>(sections().channels);
    }
    head_sections sections() { return sections_of(words_.data()); }

    void repair() { header().checksum = checksum_of(bytes() + 16, size() - 16); }
    u32 open(const earshot_head **head) { return earshot_head_open(bytes(), size(), head); }
    const earshot_head *opened() {
        const earshot_head *head = nullptr;
        return open(&head) == EARSHOT_OK ? head : nullptr;
    }

  private:
    static s32 q30(double x) { return static_cast<s32>(std::lround(x * (1 << 30))); }

    void make_vertices() {
        for (u32 v = 0; v < header().vertices; ++v) {
            head_vertex &vertex = vertices()[v];
            const point &d = mesh_.vertices[v];
            double largest = 0;
            for (u32 c = 0; c < 3; ++c) vertex.direction[c] = q30(d[c]);
            for (u32 ear = 0; ear < 2; ++ear) {
                const double side = ear == 0 ? d[1] : -d[1];
                vertex.record[ear] = 2 * v + ear;
                vertex.delay[ear] = static_cast<u32>((28 - 14 * side) * 65536);
                s32 *record = records() + std::size_t{filter_words} * (2 * v + ear);
                largest = std::max(largest, make_record(record, d, side));
            }
            vertex.gain = static_cast<u32>(std::ceil(largest * 65536));
        }
    }

    /* Sixteen taps; more treble on the ear's own side. Answers the largest modulus. */
    static double make_record(s32 *record, const point &d, double side) {
        double largest = 0;
        for (u32 bin = 0; bin < 128; ++bin) {
            std::complex<double> sum;
            for (int t = 0; t < 16; ++t) {
                const double tap = (0.8 + 0.5 * side) * std::pow(-0.5 + 0.2 * side, t) +
                                   0.05 * std::sin(t * (2 + d[0]) + 3 * d[2]);
                sum += tap * std::polar(1.0, -std::acos(-1.0) / 128 * bin * t);
            }
            const double parts[] = {sum.real(), bin == 0 ? 0 : sum.imag()};
            double square = 0;
            for (u32 k = 0; k < 2; ++k) {
                const s32 value = static_cast<s32>(std::lround(parts[k] * (1 << 21)));
                record[2 * bin + k] = static_cast<s32>(record_word(value));
                square += std::pow(value, 2);
            }
            largest = std::max(largest, std::sqrt(square) / (1 << 21));
        }
        return largest;
    }

    void make_triangles() {
        std::map<std::pair<u32, u32>, u32> beyond; /* the triangle left of a side */
        const auto corner = [&](u32 t, u32 k) { return mesh_.triangles[t][k % 3]; };
        for (u32 t = 0; t < header().triangles; ++t)
            for (u32 k = 0; k < 3; ++k) beyond[{corner(t, k), corner(t, k + 1)}] = t;
        for (u32 t = 0; t < header().triangles; ++t)
            for (u32 k = 0; k < 3; ++k) {
                const u32 from = corner(t, k + 1), to = corner(t, k + 2);
                const point n = cross(mesh_.vertices[from], mesh_.vertices[to]);
                for (u32 c = 0; c < 3; ++c) triangles()[t].normal[k][c] = q30(n[c]);
                triangles()[t].vertex[k] = corner(t, k);
                triangles()[t].neighbour[k] = beyond.at({to, from});
            }
    }

    /* The first triangle wherever a cell's is not looked up: the way there is to be found. */
    void make_cells() {
        for (u32 cell = 0; cell < cells; cell += 3) nearby()[cell] = cell % header().triangles;
    }

    static void make_channel(earshot_filter_pair &pair, u32 channel) {
        for (u32 ear = 0; ear < 2; ++ear)
            for (u32 i = 0; i < filter_words; ++i)
                pair.ear[ear][i] = static_cast<s32>((channel + i + ear) % 7) << 26;
        pair.gain = 2 << 16;
    }

    mesh mesh_;
    std::vector<u32> words_;
};

} // namespace earshot::test

#endif
