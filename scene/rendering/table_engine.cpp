#include "scene/rendering/table_engine.hpp"

#include <algorithm>

#include "scene/rendering/following_engine.hpp"
#include "scene/rendering/library_status.hpp"

namespace earshot_scenes {

namespace {

constexpr u32 bins = window_length / 2 + 1;

} // namespace

table_engine::table_engine(filter_tables tables, std::size_t sources, std::size_t frame_length,
                           int guard)
    : binaural_engine({sources, frame_length, window_length / 2, false}), guard_(guard),
      safe_guard_(earshot_scenes::safe_guard(tables, sources)),
      filter_gain_bits_(filter_gain_bits(tables)), spectra_(2 * 2 * bins) {
    make_front(tables, static_cast<u32>(sources));
    make_back(static_cast<u32>(frame_length));
}

void table_engine::make_front(filter_tables tables, u32 sources) {
    const hrtf_filt_front_config config{static_cast<u32>(tables), binaural_rate, sources, 0, 0};
    hrtf_requirement need{};
    require(hrtf_filt_front_get_req(0, &need, 1, &config), "hrtf_filt_front_get_req");
    front_memory_ = memory_of(need.static_size);
    front_scratch_ = memory_of(need.scratch_size);
    require(hrtf_filt_front_init(&front_, 1, &config, front_memory_.data(), need.static_size),
            "hrtf_filt_front_init");
    require(hrtf_filt_front_scratch_get_init(front_, &config, front_scratch_.data(), 1),
            "hrtf_filt_front_scratch_get_init");
}

void table_engine::make_back(u32 frame_length) {
    const hrtf_filt_back_config config{1, frame_length, window_length, 0, 4, 1};
    hrtf_requirement need{};
    require(hrtf_filt_back_get_req(0, &need, 1, &config), "hrtf_filt_back_get_req");
    back_memory_ = memory_of(need.static_size);
    back_scratch_ = memory_of(need.scratch_size);
    require(hrtf_filt_back_init(&back_, 1, &config, back_memory_.data(), need.static_size),
            "hrtf_filt_back_init");
    require(hrtf_filt_back_scratch_get_init(back_, &config, back_scratch_.data(), 1),
            "hrtf_filt_back_scratch_get_init");
}

void table_engine::place(std::size_t source, s32 azimuth, s32 elevation) {
    const hrtf_filt_front_source &record = front_->state->sources[source];
    const s32 *const old[2] = {record.filter[0], record.filter[1]};
    hrtf_filt_front_direction direction{
        sizeof direction, static_cast<u32>(source), {record.third, azimuth, elevation}};
    require(hrtf_filt_front_set(front_, HRTF_FILT_FRONT_PARAM_SELECT, &direction),
            "hrtf_filt_front_set");
    const bool same = record.filter[0] == old[0] && record.filter[1] == old[1];
    // There is nothing to fade from before the first frame.
    changed_ = changed_ || (started_ && !same);
}

void table_engine::place_everywhere(std::size_t source) {
    if (!everywhere_) {
        place(source, 0, 0);
        everywhere_ = in_time_with(front_->state->sources[source].filter);
    }
    require(earshot_head_use(front_, static_cast<u32>(source), &*everywhere_), "earshot_head_use");
}

sample_lowering table_engine::lowering() const {
    return {guard_, s32{1} << (front_->state->input_shift - 1)};
}

bool table_engine::is_unsafe(const s32 *const *windows) const {
    if (guard_ >= safe_guard_) return false;
    s64 peaks = 0;
    for (std::size_t k = 0; k < sources(); ++k)
        peaks += extremes_of(windows[k], window_length).peak();
    return peaks << filter_gain_bits_ >= s64{1} << 31;
}

int table_engine::process(const s32 *const *windows, s32 *ears) {
    unsafe_frames_ += is_unsafe(windows);

    std::fill(spectra_.begin(), spectra_.end(), 0);
    const hrtf_ear_spectra spectra{{spectra_.data(), spectra_.data() + 2 * bins}};
    require(hrtf_filt_front_process(front_, bins, &spectra, window_length, windows),
            "hrtf_filt_front_process");
    if (changed_) {
        const hrtf_word_payload flag{sizeof flag, 1};
        require(hrtf_filt_back_set(back_, HRTF_FILT_BACK_PARAM_CHANGED, &flag),
                "hrtf_filt_back_set");
    }
    const hrtf_ear_outputs outputs{{ears, nullptr}};
    require(
        hrtf_filt_back_process(back_, static_cast<u32>(frame_length()), &outputs, bins, &spectra),
        "hrtf_filt_back_process");
    changed_ = false;
    started_ = true;
    return guard_;
}

// The frame that is processed before the next one that is wanted has all places already.
void table_engine::skip_frame() {
    changed_ = false;
    started_ = true;
}

} // namespace earshot_scenes
