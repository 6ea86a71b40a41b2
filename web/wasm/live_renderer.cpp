#include "web/wasm/live_renderer.hpp"

#include <algorithm>

#include "scene/motion/track.hpp"
#include "scene/rendering/output_level.hpp"

namespace earshot_web {

using namespace earshot_scenes;

namespace {

constexpr int gain_fraction = 26;

constexpr s32 within_a_turn(s32 azimuth) {
    constexpr auto turn = static_cast<s32>(whole_turn);
    const s32 rest = azimuth % turn;
    return rest < 0 ? rest + turn : rest;
}

s32 part_of(s64 whole, s64 done) { return static_cast<s32>(whole * done / live_glide::length); }

} // namespace

void live_glide::go_to(const live_place &target) {
    if (placed_ && target == to_) return;
    from_ = placed_ ? now() : target;
    to_ = target;
    done_ = placed_ ? 0 : length;
    placed_ = true;
}

void live_glide::advance(std::size_t samples) {
    done_ = static_cast<s32>(std::min<std::size_t>(static_cast<std::size_t>(done_) + samples,
                                                   static_cast<std::size_t>(length)));
}

live_place live_glide::after(std::size_t samples) const {
    const s64 done =
        std::min<s64>(static_cast<s64>(static_cast<std::size_t>(done_) + samples), length);
    if (done == length) return to_;
    return {from_.azimuth + part_of(shorter(s64{to_.azimuth} - from_.azimuth), done),
            from_.elevation + part_of(s64{to_.elevation} - from_.elevation, done),
            from_.gain + part_of(s64{to_.gain} - from_.gain, done)};
}

void live_glide::apply_gain(s32 *samples, std::size_t count, u64 &clipped) const {
    constexpr s32 one = s32{1} << gain_fraction;
    for (std::size_t i = 0; i < count; ++i) {
        const s32 gain = after(i + 1).gain;
        if (gain == one && to_.gain == one) return; // and so is all that follows
        const s64 scaled = rounded_shift(s64{samples[i]} * gain, gain_fraction);
        samples[i] = static_cast<s32>(clamp_counted(scaled, 32, clipped));
    }
}

live_renderer::live_renderer(std::size_t sources, shared_head head)
    : engine_(std::move(head), sources, frame_length, {}), glides_(sources),
      inputs_(sources * longest_block), outputs_(2 * longest_block),
      windows_(sources * window_length), ears_(2 * (latency + frame_length + longest_block)) {
    for (std::size_t k = 0; k < sources; ++k) window_starts_.push_back(window(k));
}

void live_renderer::process(std::size_t count) {
    for (std::size_t done = 0; done < count;) {
        const std::size_t part = std::min(count - done, window_length - known_);
        take(done, part);
        if (known_ == window_length) render_frame();
        done += part;
    }
    hand_out(count);
}

void live_renderer::take(std::size_t at, std::size_t count) {
    for (std::size_t k = 0; k < sources(); ++k) {
        s32 *const samples = window(k) + known_;
        std::copy_n(input(k) + at, count, samples);
        glides_[k].apply_gain(samples, count, clipped_);
        glides_[k].advance(count);
    }
    known_ += count;
}

void live_renderer::render_frame() {
    for (std::size_t k = 0; k < sources(); ++k) {
        const live_place now = glides_[k].now();
        engine_.place(k, within_a_turn(now.azimuth), now.elevation);
    }
    s32 *const frame = ears_.data() + 2 * ready_;
    const int exponent = engine_.process(window_starts_.data(), frame);
    constexpr std::size_t words = 2 * frame_length;
    output_level().raised(exponent).apply(frame, frame, words, extremes_of(frame, words), {},
                                          clipped_);
    ready_ += frame_length;
    known_ -= frame_length;
    for (std::size_t k = 0; k < sources(); ++k)
        std::copy_n(window(k) + frame_length, known_, window(k));
}

void live_renderer::hand_out(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        output(0)[i] = ears_[2 * i];
        output(1)[i] = ears_[2 * i + 1];
    }
    ready_ -= count;
    std::copy_n(ears_.data() + 2 * count, 2 * ready_, ears_.data());
}

} // namespace earshot_web
