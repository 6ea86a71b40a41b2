#include "preparation/opened_head.hpp"

#include <cmath>
#include <stdexcept>

namespace preparation {

opened_head::opened_head(const std::vector<u32> &words) {
    if (earshot_head_open(words.data(), words.size() * sizeof(u32), &head_) != EARSHOT_OK)
        throw std::logic_error("a prepared head is not accepted");
}

std::vector<u32> opened_head::builtin() {
    std::vector<u32> words(earshot_head_builtin_size() / sizeof(u32));
    const earshot_head *head = nullptr;
    if (earshot_head_builtin(words.data(), words.size() * sizeof(u32), &head) != EARSHOT_OK)
        throw std::logic_error("the built-in head cannot be made");
    return words;
}

std::array<spectrum, 2> opened_head::filters(direction where) const {
    constexpr double q29 = 1 << 29;
    const auto q16 = [](double angle) { return static_cast<s32>(std::lround(angle * 65536)); };
    earshot_filter_pair pair;
    earshot_head_filter(head_, q16(where.azimuth), q16(where.elevation), &pair);
    std::array<spectrum, 2> result;
    for (std::size_t ear : {left, right}) {
        spectrum &bins = result[ear];
        bins.resize(fft_bins);
        bins[0] = pair.ear[ear][0] / q29;
        for (std::size_t k = 1; k + 1 < fft_bins; ++k)
            bins[k] = {pair.ear[ear][2 * k] / q29, pair.ear[ear][2 * k + 1] / q29};
    }
    return result;
}

ear_pair opened_head::responses(direction where) const {
    ear_pair ears;
    auto spectra = filters(where);
    for (std::size_t ear : {left, right}) {
        delay(spectra[ear], lead);
        ears[ear] = inverse(spectra[ear]);
    }
    return ears;
}

} // namespace preparation
