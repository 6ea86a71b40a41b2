#include "head_geometry.hpp"

#include "preparation/delays.hpp"
#include "preparation/fill.hpp"
#include "preparation/filters.hpp"
#include "preparation/head_file.hpp"

#include "head/format.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace hrtf {
namespace {

// Every direction of the measurement, and the filter of the diffuse set that is its left ear's: the
// tables hold the left half alone, whose right ear is the left one of the other half.
struct source {
    direction where;
    std::int32_t filter;
};

std::vector<source> sources() {
    std::vector<source> all;
    std::int32_t filter = 0;
    for (const table_entry &record : diffuse_directions()) {
        const auto [azimuth, elevation] = record.where;
        if (record.measured) all.push_back({record.where, filter});
        if (record.measured && azimuth > 0.01 && azimuth < 179.99)
            all.push_back({{360 - azimuth, elevation}, filter + 1});
        filter += 2;
    }
    return all;
}

std::uint32_t mirrored(std::size_t vertex, const unit_vectors &vertices) {
    const unit_vector &at = vertices[vertex];
    const unit_vector wanted{at.x(), -at.y(), at.z()};
    const auto nearest =
        std::ranges::min_element(vertices, {}, [&](const auto &v) { return (v - wanted).norm(); });
    if ((*nearest - wanted).norm() > 1e-6) fail("a direction of the head has no mirror image");
    return static_cast<std::uint32_t>(nearest - vertices.begin());
}

void append(words &all, const head_words &more) {
    for (u32 word : more) all.push_back(static_cast<std::int32_t>(word));
}

// The stored words as a record's values.
std::int32_t value_of(std::int32_t word) {
    return static_cast<std::int16_t>(word & 0xFFFF) * 256 + (word >> 16);
}

} // namespace

const char *const head_file = "kemar.bin";

words make_head_geometry(const words &diffuse) {
    const auto all = sources();
    head_parts head;
    head.name = "KEMAR, normal pinna (MIT Media Laboratory, 1994)";
    head.measured = all.size();
    head.channels.resize(amb_channels);
    std::vector<spectrum> responses;
    for (const source &one : all) {
        const std::size_t at = static_cast<std::size_t>(one.filter) * words_per_filter;
        head.vertices.push_back(vector_of(one.where));
        responses.push_back(softened(unpack(&diffuse[at])));
    }
    head.hull = triangulate(head.vertices);
    ear_filters ear{{}, solve_delays(responses, head.vertices, head.hull)};
    for (std::size_t v = 0; v < responses.size(); ++v)
        ear.aligned.push_back(advanced(responses[v], ear.delays[v]));
    for (direction where : holes_between(head.hull, head.vertices))
        head.vertices.push_back(vector_of(where));
    head.hull = triangulate(head.vertices);
    fill_holes(ear, head.vertices, areas_of(head.hull, head.vertices));
    for (std::uint32_t v = 0; v < head.vertices.size(); ++v) {
        const std::uint32_t other = mirrored(v, head.vertices);
        head.ears.push_back({{{v, ear.delays[v]}, {other, ear.delays[other]}}});
    }
    head.records = std::move(ear.aligned);

    words result;
    append(result, write_geometry(head));
    for (const source &one : all) result.push_back(one.filter);
    for (std::size_t v = all.size(); v < head.records.size(); ++v)
        append(result, write_record(head.records[v]));
    return result;
}

bool equal_geometry(const words &made, const words &stored) {
    if (made.size() != stored.size()) {
        std::printf("%s: %zu words, not %zu\n", head_file, stored.size(), made.size());
        return false;
    }
    earshot::head_header header{};
    std::memcpy(&header, made.data(), sizeof header);
    const std::size_t fills =
        made.size() - (header.records - header.measured) * earshot::filter_words;
    std::int64_t largest = 0;
    for (std::size_t k = 0; k < made.size(); ++k) {
        const auto of = [&](const words &all) {
            return std::int64_t{k < fills ? all[k] : value_of(all[k])};
        };
        largest = std::max(largest, std::abs(of(made) - of(stored)));
    }
    std::printf("%s: words differ by at most %lld\n", head_file, static_cast<long long>(largest));
    return largest <= 1;
}

} // namespace hrtf
