// Writes the HRTF tables, or compares them with what it would write. README.md has the steps.
//     hrtf_tables MEASUREMENT TABLE_DIRECTORY HEAD_DIRECTORY
//     hrtf_tables --compare MEASUREMENT TABLE_DIRECTORY HEAD_DIRECTORY
#include "diffuse_set.hpp"
#include "head_geometry.hpp"
#include "layout.hpp"

#include "preparation/field_filters.hpp"
#include "preparation/harmonics.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace hrtf {
namespace {

void append(words &all, const ear_pair &ears) {
    for (const signal &ear : ears) {
        const auto filter = pack(ear);
        all.insert(all.end(), filter.begin(), filter.end());
    }
}

// The ears are mirror images: the right one's filters are the left one's, negated for channels that
// change sign between the sides.
std::vector<ear_pair> make_amb_set(const equalised_set &diffuse) {
    constexpr int rounds = 100;
    std::vector<field_direction> all;
    for (const auto &one : diffuse.directions)
        all.push_back({one.where, one.weight, {&one.ears[left]}});
    std::vector<ear_pair> result;
    const auto by_ear = design_field_filters(all, rounds);
    for (const signal &filter : by_ear[left]) {
        signal other = filter;
        if (degree_of(result.size()) < 0) {
            for (double &sample : other) sample = -sample;
        }
        result.push_back({filter, std::move(other)});
    }
    return result;
}

// One unit is allowed: the last bit of a sine or of a sum may depend on the machine.
bool equal(const words &made, const words &stored, const char *name) {
    if (made.size() != stored.size()) {
        std::printf("%s: %zu words, not %zu\n", name, stored.size(), made.size());
        return false;
    }
    std::int64_t largest = 0;
    std::size_t different = 0;
    for (std::size_t k = 0; k < made.size(); ++k) {
        const std::int64_t distance = std::abs(std::int64_t{made[k]} - stored[k]);
        largest = std::max(largest, distance);
        if (distance != 0) ++different;
    }
    std::printf("%s: %zu of %zu words differ, by at most %lld\n", name, different, made.size(),
                static_cast<long long>(largest));
    return largest <= 1;
}

} // namespace
} // namespace hrtf

int main(int argc, char **argv) {
    using namespace hrtf;
    const bool compare = argc == 5 && std::string(argv[1]) == "--compare";
    if (argc != 4 && !compare) {
        std::fputs("usage: hrtf_tables [--compare] MEASUREMENT TABLE_DIRECTORY HEAD_DIRECTORY\n",
                   stderr);
        return 1;
    }
    const std::string directory = argv[argc - 2], head_directory = argv[argc - 1];
    const equalised_set set = make_diffuse_set(read_measurement(argv[argc - 3]));
    words diffuse, amb;
    for (const table_entry &record : set.records) append(diffuse, record.ears);
    for (const ear_pair &ears : make_amb_set(set)) append(amb, ears);
    const words head = make_head_geometry(diffuse);

    const std::string diffuse_path = directory + "/" + diffuse_file;
    const std::string amb_path = directory + "/" + amb_file;
    const std::string head_path = head_directory + "/" + head_file;
    if (compare) {
        const bool same_diffuse = equal(diffuse, read_words(diffuse_path), diffuse_file);
        const bool same_amb = equal(amb, read_words(amb_path), amb_file);
        const bool same_head = equal_geometry(head, read_words(head_path));
        return same_diffuse && same_amb && same_head ? 0 : 1;
    }
    write_words(diffuse_path, diffuse);
    write_words(amb_path, amb);
    write_words(head_path, head);
    return 0;
}
