#include "commands/ear_differences.hpp"

#include <algorithm>
#include <cmath>

namespace earshot_tool {

ear_differences::ear_differences(int rate) : rate_(rate), longest_lag_((rate + 999) / 1000) {
    const std::size_t lags = static_cast<std::size_t>(longest_lag_) + 1;
    for (int ear = 0; ear < 2; ++ear) {
        past_[ear].resize(2 * lags);
        later_[ear].resize(lags);
    }
}

// The newest frame is put in front of the ones before, so that place newest_ + k is k frames old.
void ear_differences::add(const s32 *frame) {
    const std::size_t kept = later_[0].size();
    newest_ = newest_ == 0 ? kept - 1 : newest_ - 1;
    for (int ear = 0; ear < 2; ++ear) {
        const double sample = frame[ear] * 0x1p-31;
        past_[ear][newest_] = past_[ear][newest_ + kept] = sample;
        power_[ear] += sample * sample;
    }
    for (int ear = 0; ear < 2; ++ear) {
        const double sample = past_[ear][newest_];
        const double *other = past_[1 - ear].data() + newest_;
        for (std::size_t lag = 0; lag < kept; ++lag) later_[ear][lag] += sample * other[lag];
    }
    ++frames_;
}

void ear_differences::clear() {
    for (int ear = 0; ear < 2; ++ear) {
        std::fill(later_[ear].begin(), later_[ear].end(), 0);
        power_[ear] = 0;
    }
    frames_ = 0;
}

double ear_differences::level_db(int ear) const {
    return 10 * std::log10(power_[ear] / static_cast<double>(frames_));
}

// lag: frames by which the left ear is later.
double ear_differences::correlation(int lag) const {
    return lag < 0 ? later_[1][static_cast<std::size_t>(-lag)]
                   : later_[0][static_cast<std::size_t>(lag)];
}

std::optional<double> ear_differences::time_difference() const {
    int best = 0;
    for (int lag = -longest_lag_; lag <= longest_lag_; ++lag)
        if (correlation(lag) > correlation(best)) best = lag;
    if (correlation(best) <= 0) return std::nullopt;
    double offset = 0;
    if (std::abs(best) < longest_lag_) {
        const double before = correlation(best - 1);
        const double after = correlation(best + 1);
        const double curvature = 2 * correlation(best) - before - after;
        if (curvature > 0) offset = (after - before) / (2 * curvature);
    }
    return (best + offset) / rate_ * 1e6;
}

} // namespace earshot_tool
