/*
 * Scenes and their tables as text: what is no scene is refused with a word, what is one can be
 * rendered, in frames or in pieces of them. An input is the scene, a line of ====, and the table
 * that any name in the scene stands for.
 */
#include "../scene/sounds.hpp"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <variant>

namespace {

using namespace earshot_scenes;

constexpr std::size_t most_played = 12, frames = 4, length = scene_stream::frame_length;

template <class Value> bool rises(const track<Value> &rows) {
    const auto fall = std::adjacent_find(
        rows.begin(), rows.end(), [](const auto &a, const auto &b) { return a.time >= b.time; });
    return !rows.empty() && fall == rows.end();
}

bool rises(const everywhere &) { return true; }

template <class... Places> bool rises(const std::variant<Places...> &place) {
    return std::visit([](const auto &rows) { return rises(rows); }, place);
}

/* Noise, silence, a short sound, and as loud as it gets. */
const std::vector<test::samples> &sounds() {
    static const std::vector<test::samples> all = {
        test::noise(5000, 1, 0), {}, test::noise(7, 3), test::samples(1000, INT32_MIN)};
    return all;
}

/* The first frames, read in pieces of so many samples. */
test::samples heard(const scene &played, std::size_t step) {
    test::performance performance(played, sounds());
    test::samples out(2 * frames * length);
    std::size_t got = 0;
    while (got < frames * length) {
        const std::size_t wanted = std::min(step, frames * length - got);
        const std::size_t read = performance.stream->read(&out[2 * got], wanted);
        if (read == 0) break;
        got += read;
    }
    /* The guard is the safe one: no sum can wrap. */
    if (performance.engine->unsafe_frames() != 0) std::abort();
    return out;
}

void check(const scene &scene) {
    if (scene.sources.empty() || !rises(scene.listener.orientation) ||
        !rises(scene.listener.position))
        std::abort();
    for (const scene_source &source : scene.sources)
        if (source.file.empty() || !rises(source.place)) std::abort();
    if (scene.sources.size() <= most_played && heard(scene, length) != heard(scene, 37))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    constexpr std::string_view line = "\n====\n";
    const std::size_t end = text.find(line);
    const auto load = [&](const std::string &) -> std::string {
        if (end == std::string_view::npos) throw std::runtime_error("no such file");
        return std::string(text.substr(end + line.size()));
    };
    try {
        check(parse_scene(text.substr(0, end), load));
    } catch (const scene_error &error) {
        if (*error.what() == '\0') std::abort();
    }
    return 0;
}
