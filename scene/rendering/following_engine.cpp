#include "scene/rendering/following_engine.hpp"

#include "scene/rendering/library_status.hpp"

namespace earshot_scene {

shared_head builtin_head() {
    const auto memory = std::make_shared<library_memory>(memory_of(earshot_head_builtin_size()));
    const earshot_head *head = nullptr;
    require(earshot_head_builtin(memory->data(), earshot_head_builtin_size(), &head),
            "earshot_head_builtin");
    return {memory, head};
}

const earshot_filter_pair &unfiltered() {
    static const earshot_filter_pair pair = [] {
        constexpr s32 one = 1 << 29;
        earshot_filter_pair made{};
        for (s32(&ear)[256] : made.ear) {
            for (std::size_t k = 0; k < 256; k += 2) ear[k] = one;
            ear[1] = one; // Nyquist
        }
        made.gain = 65536;
        return made;
    }();
    return pair;
}

following_engine::following_engine(const shape &shape, std::optional<int> guard)
    : binaural_engine(shape), guard_(guard) {
    const earshot_binaural_config config{static_cast<u32>(shape.sources),
                                         static_cast<u32>(shape.frame_length),
                                         static_cast<u32>(shape.lead)};
    std::size_t size = 0;
    require(earshot_binaural_get_size(&config, &size), "earshot_binaural_get_size");
    memory_ = memory_of(size);
    require(earshot_binaural_init(&renderer_, &config, memory_.data(), size),
            "earshot_binaural_init");
    if (guard)
        require(earshot_binaural_fix_headroom(renderer_, *guard), "earshot_binaural_fix_headroom");
}

void following_engine::use(std::size_t source, const earshot_filter_pair &pair) {
    require(earshot_binaural_set(renderer_, static_cast<u32>(source), &pair),
            "earshot_binaural_set");
}

int following_engine::process(const s32 *const *windows, s32 *ears) {
    s32 exponent = 0;
    require(earshot_binaural_process(renderer_, windows, ears, &exponent),
            "earshot_binaural_process");
    return exponent;
}

} // namespace earshot_scene
