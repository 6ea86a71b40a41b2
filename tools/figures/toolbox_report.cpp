// What the positioning functions and the filters do, measured through the public interface.
//     toolbox_report            the figures of docs/toolbox.md and their limits; 1 if one is passed
//     toolbox_report rolloff    gain over distance, as comma-separated values in decibels
//     toolbox_report filters    gain over frequency, likewise

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

#include <earshot/filters.h>
#include <earshot/spatial.h>

namespace {

constexpr double pi = std::numbers::pi;

double decibels(double gain) { return 20 * std::log10(gain); }

// --- Gain over distance -------------------------------------------------------------------------

double rolloff(u32 model, double distance, double minimum, double maximum) {
    const auto q16 = [](double metres) { return static_cast<s32>(std::lround(metres * 65536)); };
    s32 gain = 0;
    if (rolloff_gain(&gain, q16(distance), q16(minimum), q16(maximum), model) != 0) return NAN;
    return gain / 0x1p28;
}

void print_rolloff() {
    std::puts("metres,inverse,inverse_from_4,linear,none");
    for (double distance = 0.5; distance <= 70; distance *= 1.005)
        std::printf("%.4f,%.3f,%.3f,%.3f,%.3f\n", distance,
                    decibels(rolloff(ROLLOFF_INVERSE, distance, 1, 60)),
                    decibels(rolloff(ROLLOFF_INVERSE, distance, 4, 60)),
                    decibels(rolloff(ROLLOFF_LINEAR, distance, 1, 60)),
                    decibels(rolloff(ROLLOFF_NONE, distance, 1, 60)));
}

// --- Filters ------------------------------------------------------------------------------------

// In place, from a state of zeros on.
using filter = std::function<void(std::vector<s32> &)>;

// The gain for a steady tone: the amplitude of the sine that fits best to the last second.
double response(const filter &apply, int rate, double frequency, double amplitude) {
    const auto count = static_cast<std::size_t>(2 * rate);
    const double step = 2 * pi * frequency / rate;
    std::vector<s32> tone(count);
    for (std::size_t i = 0; i < count; ++i)
        tone[i] =
            static_cast<s32>(std::lround(amplitude * std::sin(step * static_cast<double>(i))));
    apply(tone);
    double ss = 0;
    double cc = 0;
    double sc = 0;
    double ys = 0;
    double yc = 0;
    for (std::size_t i = count / 2; i < count; ++i) {
        const double s = std::sin(step * static_cast<double>(i));
        const double c = std::cos(step * static_cast<double>(i));
        ss += s * s;
        cc += c * c;
        sc += s * c;
        ys += tone[i] * s;
        yc += tone[i] * c;
    }
    const double determinant = ss * cc - sc * sc;
    return std::hypot((ys * cc - yc * sc) / determinant, (yc * ss - ys * sc) / determinant) /
           amplitude;
}

constexpr double dc_amplitude = 65536; // of the 17 bits that every difference of two samples fits
constexpr double loud = 0x1p29;

u16 pole_for(int rate) {
    u16 pole = 0;
    dc_block_handle handle{};
    s32 state[4];
    dc_block_init(&pole, &handle, rate, state, state + 2);
    return pole;
}

double dc_response(int rate, double frequency) {
    const auto block = [rate](std::vector<s32> &tone) {
        s32 input[2]{};
        s32 output[2]{};
        dc_block(tone.data(), tone.data(), static_cast<s16>(pole_for(rate)), input, output, 1,
                 static_cast<s32>(tone.size()));
    };
    return response(block, rate, frequency, dc_amplitude);
}

s32 q29(double value) { return static_cast<s32>(std::lround(value * 0x1p29)); }

double all_pass_response(double frequency, double c0, double c1) {
    const auto turn = [=](std::vector<s32> &tone) {
        const s32 coefs[2] = {q29(c0), q29(c1)};
        s32 state[4]{};
        iirDF1_32_ap(tone.data(), tone.data(), static_cast<s32>(tone.size()), coefs, state, 29);
    };
    return response(turn, 48000, frequency, loud);
}

// A second-order Butterworth low-pass at 1 kHz for 48 kHz.
struct low_pass {
    low_pass() {
        const double angle = 2 * pi * 1000 / 48000;
        const double alpha = std::sin(angle) / std::numbers::sqrt2;
        const double b = (1 - std::cos(angle)) / 2 / (1 + alpha);
        const double all[5] = {b, 2 * b, b, -2 * std::cos(angle) / (1 + alpha),
                               (1 - alpha) / (1 + alpha)};
        std::transform(all, all + 5, coefs, q29);
    }

    double response(double frequency) const {
        const auto smooth = [this](std::vector<s32> &tone) {
            s64 state[2]{};
            iirTDF2_32(tone.data(), tone.data(), static_cast<s32>(tone.size()), coefs, state, 1,
                       29);
        };
        return ::response(smooth, 48000, frequency, loud);
    }

    // What it should be: the bilinear transform of 1 / sqrt(1 + (f / 1 kHz)^4).
    static double ideal(double frequency) {
        const double warped = std::tan(pi * frequency / 48000) / std::tan(pi * 1000 / 48000);
        return 1 / std::sqrt(1 + std::pow(warped, 4));
    }

    s32 coefs[5];
};

std::vector<double> frequencies(double low, double high, double factor) {
    std::vector<double> all;
    for (double f = low; f <= high; f *= factor) all.push_back(f);
    return all;
}

void print_filters() {
    const low_pass smooth;
    std::puts("hertz,dc_8000,dc_16000,dc_48000,low_pass,all_pass");
    for (const double f : frequencies(2, 20000, 1.12)) {
        const auto blocked = [f](int rate) {
            return f < rate * 0.45 ? std::to_string(decibels(dc_response(rate, f))) : "";
        };
        std::printf("%.2f,%s,%s,%s,%.3f,%.6f\n", f, blocked(8000).c_str(), blocked(16000).c_str(),
                    blocked(48000).c_str(), decibels(smooth.response(f)),
                    decibels(all_pass_response(f, 0.4, -0.9)));
    }
}

// Where a tone is half as powerful as the highest ones.
double dc_corner(int rate) {
    const double target = dc_response(rate, rate * 0.499) / std::numbers::sqrt2;
    double low = 1;
    double high = rate / 8.0;
    for (int i = 0; i < 16; ++i) {
        const double middle = std::sqrt(low * high);
        (dc_response(rate, middle) < target ? low : high) = middle;
    }
    return std::sqrt(low * high);
}

// The same of (1 - 1/z) / (1 - a/z).
double ideal_corner(int rate) {
    const double a = pole_for(rate) / 32768.0;
    return std::acos(2 * a / (1 + a * a)) * rate / (2 * pi);
}

// --- Figures and limits -------------------------------------------------------------------------

bool within = true;

void figure(const std::string &what, double is, double limit, const char *unit) {
    std::printf("%-66s %8.2g %s (limit %g)\n", what.c_str(), is, unit, limit);
    within = within && is <= limit;
}

double all_pass_ripple() {
    double worst = 0;
    for (const auto &[c0, c1] : {std::pair{0.4, -0.9}, {-0.5, 0.2}, {0.9, -1.85}})
        for (const double f : frequencies(20, 20000, 1.26))
            worst = std::max(worst, std::fabs(decibels(all_pass_response(f, c0, c1))));
    return worst;
}

double low_pass_error() {
    const low_pass smooth;
    double worst = 0;
    for (const double f : frequencies(20, 10000, 1.26))
        worst = std::max(worst, std::fabs(decibels(smooth.response(f) / low_pass::ideal(f))));
    return worst;
}

// The largest distance of a 16-bit ramp over so many frames from the straight line, in units of
// Q15.
double ramp_error(s32 frames) {
    const std::vector<s32> ones(static_cast<std::size_t>(frames), 1 << 15);
    std::vector<s32> gains(ones.size());
    a3d_panner panner{};
    a3d_panner_setup(&panner, 32767, frames, 0);
    a3d_buffer32_fill_panner(gains.data(), ones.data(), &panner, frames, 1);
    double worst = 0;
    for (s32 i = 0; i < frames; ++i)
        worst =
            std::max(worst, std::fabs(gains[static_cast<std::size_t>(i)] - 32767.0 * i / frames));
    return worst;
}

// Degrees; points at 1 to 100 m whose ratios the library's arc tangent covers.
double direction_error() {
    double worst = 0;
    for (int i = 0; i < 5000; ++i) {
        const double azimuth = std::remainder(i * 137.5077, 360);
        const double elevation = i % 1700 / 10.0 - 85;
        const double radius = 65536 * (1 + i % 100);
        const double in_plane = std::cos(elevation * pi / 180);
        const s32 point[3] = {
            static_cast<s32>(std::lround(radius * in_plane * std::cos(azimuth * pi / 180))),
            static_cast<s32>(std::lround(radius * in_plane * std::sin(azimuth * pi / 180))),
            static_cast<s32>(std::lround(radius * std::sin(elevation * pi / 180)))};
        const double ratio = std::fabs(std::tan(azimuth * pi / 180));
        if (ratio > 31) continue;
        s32 seen[3];
        cart_to_spher(point, seen, 0);
        const double exact = std::atan2(point[1], point[0]) * 180 / pi;
        worst = std::max(worst, std::fabs(std::remainder(seen[1] / 65536.0 - exact, 360)));
    }
    return worst;
}

void print_figures() {
    const double halved =
        rolloff(ROLLOFF_INVERSE, 8, 1, 30000) / rolloff(ROLLOFF_INVERSE, 4, 1, 30000);
    figure("inverse roll-off: double distance, off half the amplitude by",
           std::fabs(halved * 2 - 1), 0.001, "");
    figure("azimuth of a point: largest error", direction_error(), 0.001, "degrees");
    figure("gain ramp over 1024 frames: off the straight line by", ramp_error(1024), 1,
           "Q15 units");
    figure("all-pass, 20 Hz to 20 kHz: off 0 dB by", all_pass_ripple(), 0.01, "dB");
    figure("low-pass at 1 kHz, 20 Hz to 10 kHz: off the ideal by", low_pass_error(), 0.01, "dB");
    for (const int rate : {8000, 16000, 22050, 32000, 48000, 64000, 96000}) {
        const double corner = dc_corner(rate);
        figure("DC blocker at " + std::to_string(rate) + " Hz: corner " +
                   std::to_string(corner).substr(0, 6) + " Hz, off its pole's by",
               100 * std::fabs(corner / ideal_corner(rate) - 1), 1, "%");
    }
}

} // namespace

int main(int argc, char **argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "rolloff") {
        print_rolloff();
    } else if (what == "filters") {
        print_filters();
    } else if (what.empty()) {
        print_figures();
    } else {
        std::fprintf(stderr, "usage: toolbox_report [rolloff | filters]\n");
        return 1;
    }
    return within ? 0 : 1;
}
