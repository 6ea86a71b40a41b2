#include "scene/interface/input_source.hpp"

#include <algorithm>

#include "scene/interface/interface_error.hpp"

namespace earshot_scenes {

namespace {

// More than was asked for would be beyond the memory that was given.
s64 checked(s64 got, s64 wanted) {
    if (got < 0 || got > wanted) throw input_error("an input cannot be read");
    return got;
}

s64 play(void *user, s32 *samples, s64 count) {
    auto &sound = *static_cast<earshot_scene_samples *>(user);
    const s64 got = std::clamp<s64>(sound.frames - sound.position, 0, count);
    const s32 *from = sound.samples + sound.position * sound.stride;
    for (s64 i = 0; i < got; ++i) samples[i] = from[i * sound.stride];
    sound.position += got;
    return got;
}

s64 pass(void *user, s64 count) {
    auto &sound = *static_cast<earshot_scene_samples *>(user);
    const s64 got = std::clamp<s64>(sound.frames - sound.position, 0, count);
    sound.position += got;
    return got;
}

s32 begin_again(void *user) {
    static_cast<earshot_scene_samples *>(user)->position = 0;
    return 0;
}

} // namespace

std::optional<s64> input_source::frames() const {
    return input_.frames < 0 ? std::nullopt : std::optional(input_.frames);
}

std::size_t input_source::read(s32 *mono, std::size_t frames) {
    const auto wanted = static_cast<s64>(frames);
    return static_cast<std::size_t>(checked(input_.read(input_.user, mono, wanted), wanted));
}

s64 input_source::skip(s64 frames) {
    if (input_.skip == nullptr) return rewindable_source::skip(frames);
    return checked(input_.skip(input_.user, frames), frames);
}

void input_source::rewind() {
    if (input_.rewind(input_.user) != 0) throw input_error("an input cannot be read again");
}

} // namespace earshot_scenes

using namespace earshot_scenes;

u32 earshot_scene_play(earshot_scene_samples *sound, earshot_scene_input *input) {
    if (sound == nullptr || input == nullptr) return EARSHOT_BAD_MEMORY;
    if (sound->samples == nullptr && sound->frames != 0) return EARSHOT_BAD_MEMORY;
    if (sound->frames < 0 || sound->stride < 1 || sound->position < 0) return EARSHOT_BAD_VALUE;
    *input = {sound, play, pass, begin_again, sound->frames};
    return EARSHOT_OK;
}
