/*
 * The library from C++: a source of loud noise circles the built-in head once, in frames of 96
 * samples, and has filters for exactly where it is. Prints how loud each ear hears it in every
 * quarter of the way. C++17; with the name of a head file, for that head.
 */
#include <earshot/earshot.hpp>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace {

constexpr int length = 48000; /* samples of the source */
constexpr int ring = 139;     /* samples that the filters ring on after them */

std::vector<char> bytes_of(const char *path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error(std::string(path) + ": cannot be opened");
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

earshot::head head_of(int argc, char **argv) {
    if (argc < 2) return earshot::head();
    const std::vector<char> bytes = bytes_of(argv[1]);
    auto head = earshot::head::try_copy_of(earshot::as_bytes(earshot::span(bytes)));
    if (!head) throw std::runtime_error(std::string(argv[1]) + ": is no head file");
    return *std::move(head);
}

/* Noise at full scale, with silence for the first and the last windows before it and after it. */
std::vector<s32> sound() {
    std::vector<s32> samples(EARSHOT_HEAD_LEAD + length + 512);
    u32 state = 1;
    for (int i = 0; i < length; ++i) {
        state = state * 1664525 + 1013904223;
        samples[static_cast<std::size_t>(EARSHOT_HEAD_LEAD + i)] = static_cast<s32>(state);
    }
    return samples;
}

void circle(const earshot::head &head) {
    std::printf("%s, %u directions\n", head.describe().name, head.describe().directions);
    earshot::head_renderer renderer(head, 1);
    const std::vector<s32> samples = sound();
    std::vector<s32> ears(2 * renderer.frame_length());
    double power[4][2] = {};
    for (int time = 0; time < length + ring; time += EARSHOT_HEAD_FRAME) {
        renderer.place(0, earshot::degrees(360.0 * time / length), earshot::degrees(0));
        const std::array<const s32 *, 1> windows = {&samples[static_cast<std::size_t>(time)]};
        const s32 exponent = renderer.process(windows, ears);
        double *const quarter = power[time < length ? time / (length / 4) : 3];
        for (std::size_t i = 0; i < ears.size(); ++i) /* a word counts 2^exponent */
            quarter[i % 2] += std::pow(std::ldexp(ears[i], exponent), 2);
    }
    for (int i = 0; i < 4; ++i)
        std::printf("azimuth %3d to %3d: the left ear has %.3f times the power of the right one\n",
                    90 * i, 90 * (i + 1), power[i][0] / power[i][1]);
}

} // namespace

int main(int argc, char **argv) {
    try {
        circle(head_of(argc, argv));
        return 0;
    } catch (const std::exception &fault) {
        std::fprintf(stderr, "%s\n", fault.what());
        return 2;
    }
}
