// Runs the ambisonic effect over headerless four-channel samples, one frame per call and through
// its parameters alone:
//
//     effect_reference 16|32 [FRAME YAW PITCH]... < in > out
//
// Each FRAME sets a rotation (angles in Q16) before that frame. A leading FRAME of -1 has its
// setting in force from the first frame on.

#include <cstdio>
#include <cstdlib>
#include <vector>

#include <earshot/hoa_effect.h>

namespace {

template <class Sample> int run(hoa_effect_state *effect, int argc, char **argv) {
    Sample frame[4] = {};
    void *channels[4] = {&frame[0], &frame[1], &frame[2], &frame[3]};
    const hoa_effect_buffer in{1, 4, channels};
    hoa_effect_buffer out = in;
    const auto process = [&] {
        return hoa_effect_process(effect, HOA_EFFECT_OUT_TAG, &out, sizeof out, HOA_EFFECT_IN_TAG,
                                  &in, sizeof in);
    };
    int next = 2;
    for (long position = -1;; ++position) {
        if (next + 2 < argc && std::atol(argv[next]) == position) {
            const s32 angles[2] = {std::atoi(argv[next + 1]), std::atoi(argv[next + 2])};
            if (hoa_effect_set(effect, HOA_EFFECT_PARAM_ROTATION, angles, sizeof angles) != 0)
                return 1;
            next += 3;
        }
        for (int i = 0; position < 0 && i < HOA_EFFECT_RAMP_FRAMES; ++i) process();
        if (position < 0) continue;
        if (std::fread(frame, sizeof frame, 1, stdin) != 1) return 0;
        if (process() != 0 || std::fwrite(frame, sizeof frame, 1, stdout) != 1) return 1;
    }
}

} // namespace

int main(int argc, char **argv) {
    const hoa_effect_config config{48000, 1, 0, 0, static_cast<u32>(std::atoi(argv[1])), 0};
    hoa_effect_requirement need{};
    if (hoa_effect_get_req(0, &need, sizeof need, 1, &config, sizeof config) != 0) return 1;
    std::vector<double> memory(need.static_size / sizeof(double) + 1);
    hoa_effect_state *effect = nullptr;
    if (hoa_effect_init(&effect, 1, &config, sizeof config, memory.data(), need.static_size) != 0)
        return 1;
    return config.bit_width == 16 ? run<s16>(effect, argc, argv) : run<s32>(effect, argc, argv);
}
