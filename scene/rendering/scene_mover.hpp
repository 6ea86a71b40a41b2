// Places the sources of a scene for every frame, as the listener hears them.
#pragma once

#include <vector>

#include "scene/description/scene.hpp"
#include "scene/rendering/source_placer.hpp"

namespace earshot_scenes {

class scene_mover {
  public:
    // The scene outlives the mover.
    explicit scene_mover(const scene &scene);

    // For a time in samples. Times grow from call to call.
    void operator()(source_placer &placer, s64 time);

  private:
    bool may_move(const scene_source &source) const;
    void place(source_placer &placer, std::size_t k, const position &ear, s64 time);

    const scene &scene_;
    std::vector<direction> placed_;
    bool turns_;
    bool walks_;
    quaternion head_;
    bool started_ = false;
};

// Where a listener with ears and head like these hears a source that is somewhere. exactly: or as
// well as the library's geometry does.
direction heard_direction(const scene_source &source, const position &ear, const quaternion &head,
                          s64 time, bool exactly);

} // namespace earshot_scenes
