#include "scene/rendering/field_engine.hpp"

#include <utility>

#include "scene/rendering/library_status.hpp"

namespace earshot_scenes {

field_engine::field_engine(shared_head head, std::size_t channels, std::optional<int> guard)
    : following_engine({channels, longest_frame, window_length / 2, false}, guard),
      head_(std::move(head)) {
    for (std::size_t k = 0; k < channels; ++k) {
        const earshot_filter_pair *pair = nullptr;
        require(earshot_head_channel(head_.get(), static_cast<u32>(k), &pair),
                "earshot_head_channel");
        use(k, *pair);
    }
}

} // namespace earshot_scenes
