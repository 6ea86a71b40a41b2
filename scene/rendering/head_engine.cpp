#include "scene/rendering/head_engine.hpp"

#include <algorithm>
#include <utility>

#include "scene/rendering/library_status.hpp"

namespace earshot_scenes {

head_engine::head_engine(shared_head head, std::size_t sources, std::size_t frame_length,
                         std::optional<int> guard)
    : following_engine(frame_length == longest_frame
                           ? shape{sources, longest_frame, window_length / 2, true}
                           : shape{sources, frame_length, EARSHOT_HEAD_LEAD, true},
                       guard),
      head_(std::move(head)), sources_(sources), filters_(sources) {}

void head_engine::place(std::size_t source, s32 azimuth, s32 elevation) {
    sources_[source].placement.place({azimuth, elevation});
}

void head_engine::place_everywhere(std::size_t source) {
    if (!everywhere_) {
        earshot_filter_pair front;
        require(earshot_head_filter(head_.get(), 0, 0, &front), "earshot_head_filter");
        everywhere_ = aligned_pair{in_time_with({front.ear[0], front.ear[1]})};
    }
    use(source, *everywhere_);
}

int head_engine::process(const s32 *const *windows, s32 *ears) {
    skip_frame();
    for (std::size_t k = 0; k < sources_.size(); ++k)
        if (sources_[k].placement.take_change()) filter(k);
    return following_engine::process(windows, ears);
}

void head_engine::skip_frame() {
    for (placed_source &source : sources_) source.placement.advance();
}

void head_engine::forget_places() { std::fill(sources_.begin(), sources_.end(), placed_source{}); }

bool head_engine::knows_enough() const {
    return std::all_of(sources_.begin(), sources_.end(),
                       [](const placed_source &source) { return source.placement.is_known(); });
}

void head_engine::filter(std::size_t source) {
    placed_source &placed = sources_[source];
    placed.filters = 1 - placed.filters;
    const direction &now = placed.placement.now();
    earshot_filter_pair &pair = filters_[source][static_cast<std::size_t>(placed.filters)];
    require(earshot_head_filter(head_.get(), now.azimuth, now.elevation, &pair),
            "earshot_head_filter");
    if (frame_length() == longest_frame)
        require(earshot_head_shorten(&pair), "earshot_head_shorten");
    use(source, pair);
}

} // namespace earshot_scenes
