#include "scene/rendering/source_chain.hpp"

#include <algorithm>
#include <cstdint>

namespace earshot_scenes {

namespace {

// Handled at a time: a call of a file costs more than a block's samples.
constexpr std::size_t blocks = 16;

} // namespace

s64 growth_of(const scene_source &source) {
    constexpr s32 one = 1 << 20;
    u64 clipped = 0;
    s64 gain = output_level::decibels(source.gain).apply(one, {}, clipped);
    if (source.gain != 0) ++gain; // it has been rounded
    return source.dc_block ? 2 * gain : gain;
}

source_chain::source_chain(const scene_source &source, const scene_listener &listener,
                           frame_source &input, int headroom)
    : source_(source), input_(input),
      level_(output_level::decibels(source.gain).raised((source.dc_block ? 1 : 0) - headroom)),
      block_(blocks * distance_gain::block_length) {
    if (source.dc_block) blocker_.emplace();
    const auto *positions = std::get_if<track<position>>(&source.place);
    if (source.rolloff && positions != nullptr)
        rolloff_.emplace(listener, *positions, *source.rolloff);
}

std::optional<s64> source_chain::frames() const {
    const auto length = input_.frames();
    if (!length || source_.loop) return std::nullopt;
    return source_.start + *length;
}

std::size_t source_chain::read(s32 *mono, std::size_t frames) {
    std::size_t got = 0;
    while (got < frames && (used_ < made_ || fill())) {
        const std::size_t count = std::min(frames - got, made_ - used_);
        std::copy_n(block_.data() + used_, count, mono + got);
        used_ += count;
        got += count;
    }
    return got;
}

// Blocks stay where they are: the roll-off has its steps at their borders. The one in which the way
// ends waits for the next read where it can: what shares a reading with others had better not read
// before they have come as far.
s64 source_chain::skip(s64 frames) {
    const s64 block = static_cast<s64>(block_.size());
    s64 done = use(frames) - owed_;
    owed_ = 0;
    done += skip_blocks((frames - done) / block);
    if (const auto rest = left()) {
        owed_ = std::min(frames - done, *rest);
        return done + owed_;
    }
    while (done < frames && (used_ < made_ || fill())) done += use(frames - done);
    return done;
}

// Takes frames that have been made, up to so many.
s64 source_chain::use(s64 frames) {
    const s64 count = std::min(frames, static_cast<s64>(made_ - used_));
    used_ += static_cast<std::size_t>(count);
    return count;
}

// Between two blocks. None where there is a blocker, which has to hear all of the sound.
s64 source_chain::skip_blocks(s64 count) {
    if (blocker_ || ended_) return 0;
    const s64 frames = count * static_cast<s64>(block_.size());
    const s64 waited = std::min(silence(), frames);
    const s64 done = waited + input_.skip(frames - waited);
    ended_ = done < frames;
    position_ += done;
    if (rolloff_) rolloff_->skip(done);
    return done;
}

// How much there is after the block, where that is known and a block can be left out.
std::optional<s64> source_chain::left() const {
    if (blocker_ || used_ < made_) return std::nullopt;
    if (ended_) return 0;
    if (endless()) return INT64_MAX;
    const auto length = frames();
    if (!length) return std::nullopt;
    return *length - position_;
}

bool source_chain::fill() {
    used_ = 0;
    made_ = 0;
    if (ended_) return false;
    wait();
    const std::size_t sounding = input_.read(block_.data() + made_, block_.size() - made_);
    condition(block_.data() + made_, sounding);
    made_ += sounding;
    position_ += static_cast<s64>(made_);
    ended_ = made_ < block_.size();
    if (rolloff_) rolloff_->process(block_.data(), made_);
    used_ = std::min(static_cast<std::size_t>(owed_), made_);
    owed_ = 0;
    return made_ > 0;
}

// What is left of it before the start.
s64 source_chain::silence() const { return std::max<s64>(source_.start - position_, 0); }

void source_chain::wait() {
    const s64 count = std::min(silence(), static_cast<s64>(block_.size()));
    std::fill_n(block_.data(), count, 0);
    made_ = static_cast<std::size_t>(count);
}

void source_chain::condition(s32 *mono, std::size_t frames) {
    if (blocker_) blocker_->process(mono, frames);
    u64 clipped = 0; // never, with the headroom
    level_.apply(mono, mono, frames, {INT32_MIN, INT32_MAX}, {}, clipped);
}

} // namespace earshot_scenes
