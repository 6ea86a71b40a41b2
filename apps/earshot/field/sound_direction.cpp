#include "field/sound_direction.hpp"

#include <cmath>

namespace earshot_tool {

namespace {

constexpr double degrees_per_radian = 57.29577951308232;

} // namespace

sound_direction::sound_direction(channel_layout layout) {
    if (layout == channel_layout::fuma) {
        x_channel_ = 1;
        y_channel_ = 2;
        z_channel_ = 3;
        w_gain_ = std::sqrt(2.0);
    } else if (layout == channel_layout::n3d) {
        xyz_gain_ = 1 / std::sqrt(3.0);
    }
}

void sound_direction::add(const s32 *frame) {
    constexpr double unit = 0x1p-31;
    const double w = frame[0] * w_gain_ * unit;
    const double x = frame[x_channel_] * xyz_gain_ * unit;
    const double y = frame[y_channel_] * xyz_gain_ * unit;
    const double z = frame[z_channel_] * xyz_gain_ * unit;
    w_power_ += w * w;
    x_ += w * x;
    y_ += w * y;
    z_ += w * z;
    energy_ += (w * w + x * x + y * y + z * z) / 2;
    ++frames_;
}

void sound_direction::clear() {
    w_power_ = x_ = y_ = z_ = energy_ = 0;
    frames_ = 0;
}

double sound_direction::magnitude() const { return std::sqrt(x_ * x_ + y_ * y_ + z_ * z_); }

bool sound_direction::exists() const {
    // What rounding leaves of a perfect balance is no direction.
    constexpr double negligible = 1e-6;
    return magnitude() > negligible * energy_;
}

double sound_direction::azimuth() const { return std::atan2(y_, x_) * degrees_per_radian; }

double sound_direction::elevation() const {
    return std::atan2(z_, std::hypot(x_, y_)) * degrees_per_radian;
}

double sound_direction::directivity() const { return magnitude() / energy_; }

double sound_direction::level_db() const {
    return 10 * std::log10(w_power_ / static_cast<double>(frames_));
}

} // namespace earshot_tool
