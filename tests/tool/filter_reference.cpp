// Impulse responses of the library's filters, by the plain definition of the inverse transform.
//
//     filter_reference SELECTOR [AZIMUTH ELEVATION]...
//
// For each direction (Q16) two lines of 256 numbers, left and right ear; without directions, a line
// for every filter of the set: the sum of its magnitudes.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <earshot/hrtf.h>

namespace {

constexpr int length = 256;
constexpr double pi = 3.141592653589793;

std::vector<double> impulse_response(const s32 *filter) {
    static std::vector<double> cosines;
    for (int i = static_cast<int>(cosines.size()); i < length; ++i)
        cosines.push_back(std::cos(2 * pi * i / length));
    std::vector<double> taps(length);
    for (int n = 0; n < length; ++n) {
        double sum = filter[0] + (n % 2 == 0 ? 1.0 : -1.0) * filter[1];
        for (int k = 1; k < length / 2; ++k) {
            const int turn = k * n % length;
            const double sine = cosines[static_cast<std::size_t>((turn + length * 3 / 4) % length)];
            sum += 2 * (filter[2 * k] * cosines[static_cast<std::size_t>(turn)] -
                        filter[2 * k + 1] * sine);
        }
        taps[static_cast<std::size_t>(n)] = sum / length / (1 << 29);
    }
    return taps;
}

void print_direction(hrtf_instance *hrtf, const char *azimuth, const char *elevation) {
    hrtf_position position{0, std::atoi(azimuth), std::atoi(elevation)};
    hrtf_filter_pair pair{};
    if (hrtf_process(hrtf, 3, &pair, 2, &position) != 0) std::exit(1);
    for (const s32 *filter : pair.ear) {
        for (const double tap : impulse_response(filter)) std::printf("%.12g ", tap);
        std::printf("\n");
    }
}

void print_sums(int set) {
    for (s32 entry = 0; entry < hrtf_len_grp[set]; entry += length / 2) {
        double sum = 0;
        for (const double tap : impulse_response(hrtf_fft_filter[set][entry]))
            sum += std::fabs(tap);
        std::printf("%.12g\n", sum);
    }
}

} // namespace

int main(int argc, char **argv) {
    const hrtf_config config{static_cast<u32>(std::atoi(argv[1]))};
    hrtf_instance memory;
    hrtf_instance *hrtf = nullptr;
    if (hrtf_init(&hrtf, 1, &config, &memory, sizeof memory) != 0) return 1;
    if (argc == 2) print_sums(config.table_selector == 2 ? 1 : 0);
    for (int i = 2; i + 1 < argc; i += 2) print_direction(hrtf, argv[i], argv[i + 1]);
}
