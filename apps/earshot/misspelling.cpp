#include "misspelling.hpp"

#include <algorithm>
#include <numeric>

namespace earshot_tool {

namespace {

// Letters put in, left out or exchanged (V. I. Levenshtein: Binary codes capable of correcting
// deletions, insertions, and reversals, 1966).
std::size_t changes(const std::string &from, const std::string &to) {
    std::vector<std::size_t> row(to.size() + 1); // of the distances from what has been seen
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t k = 0; k < to.size(); ++k) {
            const std::size_t exchanged = diagonal + (from[i] != to[k]);
            diagonal = row[k + 1];
            row[k + 1] = std::min({exchanged, diagonal + 1, row[k] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string closest_name(const std::string &written, const std::vector<std::string> &names) {
    constexpr std::size_t longest = 64; // nobody means what is longer
    std::string closest;
    std::size_t fewest = longest;
    if (written.size() > longest) return closest;
    for (const std::string &name : names) {
        const std::size_t count = changes(written, name);
        if (count >= fewest || 3 * count > name.size()) continue;
        fewest = count;
        closest = name;
    }
    return closest;
}

} // namespace earshot_tool
