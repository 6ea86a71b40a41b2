#include "library_info.hpp"

#include <cstddef>
#include <cstdio>
#include <vector>

#include <earshot/earshot.h>

namespace earshot_tool {

namespace {

std::string line(const char *label, const std::string &value) {
    std::string padded = label;
    padded.resize(24, ' ');
    return padded + value + "\n";
}

std::string bytes(std::size_t count) { return std::to_string(count) + " bytes"; }

// Asked of a live instance, as a program would.
std::string effect_version(const hoa_effect_config &config, u32 static_size) {
    std::vector<std::max_align_t> memory(static_size / sizeof(std::max_align_t) + 1);
    hoa_effect_state *effect = nullptr;
    u32 words[2] = {0, 0};
    if (hoa_effect_init(&effect, 1, &config, sizeof config, memory.data(), static_size) !=
            EARSHOT_OK ||
        hoa_effect_get(effect, HOA_EFFECT_PARAM_VERSION, words, sizeof words) != EARSHOT_OK)
        return "unavailable";
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(words[1]));
    return text;
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
           line("  interface version", effect_version(config, need.static_size));
}

} // namespace earshot_tool
