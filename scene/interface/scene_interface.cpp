// Scenes of the C interface: their text, and what it says.

#include "scene/interface/scene_interface.hpp"

#include "scene/description/scene_json.hpp"
#include "scene/interface/interface_error.hpp"
#include "scene/motion/geometry.hpp"
#include "scene/motion/track.hpp"
#include "scene/rendering/scene_mover.hpp"

using namespace earshot_scenes;

namespace {

std::string load_table(const earshot_scene_tables *tables, const std::string &name,
                       std::size_t &left) {
    if (tables == nullptr || tables->load == nullptr)
        throw input_error(in_quotes(name) + ": there is nothing that reads tables");
    std::size_t size = 0;
    const char *reason = nullptr;
    const char *text = tables->load(tables->user, name.c_str(), &size, &reason);
    if (text == nullptr)
        throw input_error(in_quotes(name) + ": " + (reason ? reason : "cannot be read"));
    if (size > left)
        throw input_error(in_quotes(name) +
                          ": brings the tables of the scene to more than 256 MiB");
    left -= size;
    return {text, size};
}

const scene_source *source_of(const earshot_scene *scene, u32 source) {
    const auto &sources = scene->content->sources;
    return source < sources.size() ? &sources[source] : nullptr;
}

earshot_scene_direction where(const scene &scene, const scene_source &source, s64 time) {
    if (std::holds_alternative<everywhere>(source.place)) return {0, 0, 0, 1};
    const position ear = at(scene.listener.position, time);
    const quaternion head = orientation_at(scene.listener.orientation, time);
    const direction heard = heard_direction(source, ear, head, time, true);
    const auto *places = std::get_if<track<position>>(&source.place);
    const s64 over = s64{heard.azimuth} + whole_turn / 2;
    const s64 turns = over >= 0 ? over / whole_turn : -((whole_turn - 1 - over) / whole_turn);
    return {static_cast<s32>(heard.azimuth - turns * whole_turn), heard.elevation,
            places ? distance_between(at(*places, time), ear) : -1, 0};
}

} // namespace

u32 earshot_scene_parse(const char *text, size_t size, const earshot_scene_tables *tables,
                        earshot_scene **scene, earshot_scene_error *error) {
    return guarded(error, [&]() -> u32 {
        if (scene == nullptr) return EARSHOT_BAD_MEMORY;
        *scene = nullptr;
        if (text == nullptr) return EARSHOT_BAD_MEMORY;
        if (size > most_scene_bytes)
            throw scene_error("is larger than 16 MiB; long tracks belong into tables");
        std::size_t left = most_table_bytes;
        bool is_read = true; // the table that was asked for last
        const auto load = [&](const std::string &name) {
            is_read = false;
            std::string table = load_table(tables, name, left);
            is_read = true;
            return table;
        };
        try {
            *scene = new earshot_scene{std::make_shared<const earshot_scenes::scene>(
                parse_scene(std::string_view(text, size), load))};
        } catch (const scene_error &fault) { // which names the place
            if (is_read) throw;
            throw input_error(fault.what());
        }
        return EARSHOT_OK;
    });
}

void earshot_scene_free(earshot_scene *scene) { delete scene; }

u32 earshot_scene_sources(const earshot_scene *scene) {
    return scene == nullptr ? 0 : static_cast<u32>(scene->content->sources.size());
}

s64 earshot_scene_duration(const earshot_scene *scene) {
    return scene == nullptr ? -1 : scene->content->duration.value_or(-1);
}

u32 earshot_scene_source(const earshot_scene *scene, u32 source, earshot_scene_source_info *info) {
    if (scene == nullptr || info == nullptr) return EARSHOT_BAD_MEMORY;
    const scene_source *found = source_of(scene, source);
    if (found == nullptr) return EARSHOT_BAD_VALUE;
    *info = {found->file.c_str(),
             found->bed ? scene->content->beds[*found->bed].name.c_str() : nullptr,
             static_cast<u32>(found->entry),
             static_cast<u32>(found->channel),
             found->start,
             found->gain,
             found->loop ? 1u : 0u,
             0};
    return EARSHOT_OK;
}

u32 earshot_scene_heard(const earshot_scene *scene, u32 source, s64 time,
                        earshot_scene_direction *direction) {
    if (scene == nullptr || direction == nullptr) return EARSHOT_BAD_MEMORY;
    const scene_source *found = source_of(scene, source);
    if (found == nullptr) return EARSHOT_BAD_VALUE;
    *direction = where(*scene->content, *found, time);
    return EARSHOT_OK;
}
