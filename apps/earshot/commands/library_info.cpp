#include "commands/library_info.hpp"

#include <cstddef>
#include <cstdio>
#include <vector>

#include <earshot/earshot.h>

#include "console.hpp"
#include "heads/listening_head.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

namespace {

std::string line(const char *label, const std::string &value) {
    std::string padded = label;
    padded.resize(24, ' ');
    return padded + value + "\n";
}

std::string bytes(std::size_t count) { return std::to_string(count) + " bytes"; }

std::string version_text(u32 version) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(version));
    return text;
}

// Asked of a live instance, as a program would.
std::string effect_version(const hoa_effect_config &config, u32 static_size) {
    library_memory memory = memory_of(static_size);
    hoa_effect_state *effect = nullptr;
    u32 words[2] = {0, 0};
    if (hoa_effect_init(&effect, 1, &config, sizeof config, memory.data(), static_size) !=
            EARSHOT_OK ||
        hoa_effect_get(effect, HOA_EFFECT_PARAM_VERSION, words, sizeof words) != EARSHOT_OK)
        return "unavailable";
    return version_text(words[1]);
}

// Sizes for one source; what each further one adds comes after the plus sign.
std::string front_end_size() {
    u32 sizes[2] = {0, 0};
    for (u32 sources = 1; sources <= 2; ++sources) {
        const hrtf_filt_front_config config{0, 48000, sources, 0, 0};
        hrtf_requirement need{};
        hrtf_filt_front_get_req(0, &need, 1, &config);
        sizes[sources - 1] = need.static_size;
    }
    return bytes(sizes[0]) + " + " + std::to_string(sizes[1] - sizes[0]) + " per further source";
}

std::string back_end_size() {
    const hrtf_filt_back_config config{1, 96, 256, 0, 4, 1};
    hrtf_requirement need{};
    hrtf_filt_back_get_req(0, &need, 1, &config);
    return bytes(need.static_size);
}

std::string renderer_size() {
    std::size_t sizes[2] = {0, 0};
    for (u32 sources = 1; sources <= 2; ++sources) {
        const earshot_binaural_config config{sources, EARSHOT_HEAD_FRAME, EARSHOT_HEAD_LEAD};
        earshot_binaural_get_size(&config, &sizes[sources - 1]);
    }
    return bytes(sizes[0]) + " + " + std::to_string(sizes[1] - sizes[0]) + " per further source";
}

std::string builtin_head_text() {
    const listening_head head = load_head("", console({}));
    return head_text(describe_head(*head.head)) + ", " + bytes(earshot_head_builtin_size());
}

std::string hrtf_version() {
    const hrtf_config config{0};
    hrtf_instance memory{};
    hrtf_instance *hrtf = nullptr;
    hrtf_version_payload version{sizeof version, 0, {0, 0}};
    if (hrtf_init(&hrtf, 1, &config, &memory, sizeof memory) != EARSHOT_OK ||
        hrtf_get(hrtf, HRTF_PARAM_VERSION, &version) != EARSHOT_OK)
        return "unavailable";
    return version_text(version.version[1]);
}

} // namespace

std::string library_info() {
    const hoa_effect_config config{48000, 1, 0, 0, 32, 0};
    hoa_effect_requirement need{};
    hoa_effect_get_req(0, &need, sizeof need, 1, &config, sizeof config);
    return line("version", earshot_version()) + line("instruction set", earshot_instruction_set()) +
           line("addresses", std::to_string(8 * sizeof(void *)) + " bits") +
           line("ambisonic effect", bytes(need.static_size)) +
           line("  state", bytes(sizeof(hoa_effect_state))) +
           line("  interface version", effect_version(config, need.static_size)) +
           line("binaural front end", front_end_size()) +
           line("binaural back end", back_end_size()) + line("binaural interface", hrtf_version()) +
           line("binaural renderer", renderer_size()) + line("built-in head", builtin_head_text());
}

} // namespace earshot_tool
