/*
 * A scene from C++: a tone made by a callable walks from the front to the left, and where it is and
 * what the two ears have of it is printed every quarter of a second. C++17.
 */
#include <earshot/scene.hpp>

#include <cmath>
#include <cstdio>

namespace {

constexpr std::size_t step = EARSHOT_SCENE_RATE / 4;

constexpr const char *text = R"({"version": 1, "duration": 1.25, "sources": [
    {"file": "tone", "gain": -6, "track": [[0, 3, 0, 0], [1, 0, 3, 0]]}]})";

/* 500 Hz at a quarter of full scale, without an end. */
earshot::scene_sound tone() {
    const auto next = [angle = u32{0}](earshot::span<s32> out) mutable {
        for (s32 &sample : out) {
            sample = dsplib_sin(static_cast<s32>(angle)) >> 2;
            angle = (angle + (1 << 24) / 96) % (1 << 24); /* in 2^-24 turns */
        }
        return static_cast<s64>(out.size());
    };
    return earshot::scene_sound::from(next, nullptr, EARSHOT_SCENE_ENDLESS);
}

double level(earshot::span<const s32> pairs, std::size_t ear) {
    double sum = 0;
    for (std::size_t i = step / 2; i < step; ++i) sum += std::pow(pairs[2 * i + ear], 2);
    return std::sqrt(sum);
}

void walk() {
    const earshot::scene scene(text);
    earshot::scene_stream stream(scene, {tone()});
    std::vector<s32> pairs(2 * step);
    for (s64 time = 0; stream.read(pairs) == step;) {
        time += static_cast<s64>(step);
        const earshot_scene_direction heard = scene.heard(0, time);
        std::printf("%.2f s: azimuth %5.1f, %.1f m, the left ear has %.3f times the right one's "
                    "level\n",
                    static_cast<double>(time) / EARSHOT_SCENE_RATE, heard.azimuth / 65536.0,
                    heard.distance / 65536.0, level(pairs, 0) / level(pairs, 1));
    }
}

} // namespace

int main() {
    try {
        walk();
        return 0;
    } catch (const std::exception &fault) {
        std::fprintf(stderr, "%s\n", fault.what());
        return 2;
    }
}
