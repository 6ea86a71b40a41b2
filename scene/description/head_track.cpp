#include "scene/description/head_track.hpp"

#include "scene/description/scene_table.hpp"

namespace earshot_scenes {

orientation_track parse_head_track(std::string_view text, const std::string &name) {
    number_table table({&layout_of<head_angles>(), &layout_of<quaternion>()},
                       number_table::heading::optional);
    if (const auto fault = table.read(text, name)) throw scene_error(*fault);
    if (table.kind() == 0) return table.rows<head_angles>();
    return table.rows<quaternion>();
}

} // namespace earshot_scenes
