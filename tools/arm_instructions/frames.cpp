// What scripts/arm-instructions counts the instructions of: frames of the binaural renderer, or
// blocks of the ambisonic effect, as many as the arguments say.
//     frames render SOURCES FRAME_LENGTH FRAMES
//     frames effect BITS steady|ramp BLOCKS
#include <earshot/earshot.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// Noise with some headroom, the same in every run.
std::vector<s32> noise(std::size_t count) {
    std::vector<s32> words(count);
    u32 state = 1;
    for (s32 &w : words) {
        state = state * 1664525 + 1013904223;
        w = static_cast<s32>(state) >> 6;
    }
    return words;
}

template <class Instance, class Config, class GetReq, class Init>
Instance *make(const Config &config, GetReq get_req, Init init, std::vector<s64> &memory) {
    hrtf_requirement need{};
    Instance *instance = nullptr;
    if (get_req(0, &need, 1, &config) != 0) std::exit(1);
    memory.resize((need.static_size + need.scratch_size) / sizeof(s64) + 2);
    if (init(&instance, 1, &config, memory.data(), need.static_size) != 0) std::exit(1);
    instance->scratch_ptr = memory.data() + need.static_size / sizeof(s64) + 1;
    return instance;
}

void render(u32 sources, u32 frame_length, u32 frames) {
    constexpr u32 fft_size = 256, bins = fft_size / 2 + 1;
    std::vector<s64> memory[2];
    auto *front = make<hrtf_filt_front_instance>(hrtf_filt_front_config{0, 48000, sources, 0, 0},
                                                 hrtf_filt_front_get_req, hrtf_filt_front_init,
                                                 memory[0]);
    auto *back = make<hrtf_filt_back_instance>(
        hrtf_filt_back_config{1, frame_length, fft_size, 0, 0, 0}, hrtf_filt_back_get_req,
        hrtf_filt_back_init, memory[1]);
    const std::vector<s32> samples = noise(fft_size);
    const std::vector<const s32 *> inputs(sources, samples.data());
    for (u32 i = 0; i < sources; ++i) {
        hrtf_filt_front_direction direction = {20, i, {0, static_cast<s32>(i * 23 * 65536), 0}};
        hrtf_filt_front_set(front, HRTF_FILT_FRONT_PARAM_SELECT, &direction);
    }
    s32 spectra[2][2 * bins], output[2][fft_size / 2];
    const hrtf_ear_spectra ears = {{spectra[0], spectra[1]}};
    const hrtf_ear_outputs out = {{output[0], output[1]}};
    for (u32 i = 0; i < frames; ++i) {
        std::memset(spectra, 0, sizeof spectra);
        hrtf_filt_front_process(front, bins, &ears, fft_size, inputs.data());
        hrtf_filt_back_process(back, frame_length, &out, bins, &ears);
    }
}

void effect(u32 bits, bool ramp, u32 blocks) {
    constexpr u32 block = 256;
    const hoa_effect_config config = {48000, 1, 0, 0, bits, 0};
    hoa_effect_requirement need{};
    hoa_effect_state *state = nullptr;
    hoa_effect_get_req(0, &need, sizeof need, 1, &config, sizeof config);
    std::vector<s64> memory(need.static_size / sizeof(s64) + 1);
    hoa_effect_init(&state, 1, &config, sizeof config, memory.data(), need.static_size);
    std::vector<s32> samples = noise(8 * block);
    void *in[4], *out[4];
    for (u32 c = 0; c < 4; ++c) {
        in[c] = &samples[c * block];
        out[c] = &samples[(c + 4) * block];
    }
    const hoa_effect_buffer from = {block, 4, in};
    hoa_effect_buffer to = {0, 4, out};
    const s32 rotation[2] = {30 * 65536, 0};
    hoa_effect_set(state, HOA_EFFECT_PARAM_ROTATION, rotation, sizeof rotation);
    const u32 glide = HOA_EFFECT_RAMP_FRAMES / block;
    for (u32 i = 0; i < (ramp ? 0 : glide) + blocks; ++i)
        hoa_effect_process(state, HOA_EFFECT_OUT_TAG, &to, sizeof to, HOA_EFFECT_IN_TAG, &from,
                           sizeof from);
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 5) return 1;
    const auto number = [&](int i) { return static_cast<u32>(std::atoi(argv[i])); };
    if (std::strcmp(argv[1], "render") == 0)
        render(number(2), number(3), number(4));
    else
        effect(number(2), std::strcmp(argv[3], "ramp") == 0, number(4));
    return 0;
}
