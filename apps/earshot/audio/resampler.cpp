#include "audio/resampler.hpp"

#include <algorithm>

#include "console.hpp"
#include "error.hpp"

namespace earshot_tool {

s64 frames_at_rate(s64 frames, int from_rate, int to_rate) {
    // Split so that the product stays in range for any length.
    const s64 whole = frames / from_rate * to_rate;
    const s64 rest = frames % from_rate * to_rate;
    return whole + (2 * rest + from_rate) / (2 * s64{from_rate});
}

resampler::resampler(frame_source &source, int rate) : source_(source), rate_(rate) {
    const soxr_io_spec_t samples{SOXR_INT32_I, SOXR_INT32_I, 1.0, nullptr, SOXR_NO_DITHER};
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, 0);
    const soxr_runtime_spec_t one_thread = soxr_runtime_spec(1);
    soxr_error_t error = nullptr;
    engine_ = soxr_create(source.rate(), rate, static_cast<unsigned>(source.channels()), &error,
                          &samples, &quality, &one_thread);
    if (error != nullptr) throw processing_error(std::string("sample rate conversion: ") + error);
    block_.resize(block_frames * static_cast<std::size_t>(source.channels()));
}

resampler::~resampler() { soxr_delete(engine_); }

std::optional<s64> resampler::frames() const {
    const auto length = source_.frames();
    if (!length) return std::nullopt;
    return frames_at_rate(*length, source_.rate(), rate_);
}

u64 resampler::clipped() const { return *soxr_num_clips(engine_); }

std::size_t resampler::read(s32 *interleaved, std::size_t frames) {
    std::size_t got = 0;
    while (got < frames) {
        s32 *next = interleaved + got * static_cast<std::size_t>(channels());
        const bool flushes = is_used_up(); // the last block may as well yield nothing at first
        const std::size_t made = convert(next, frames - got);
        got += made;
        if (made == 0 && flushes) break;
    }
    got = complete(interleaved, got, frames);
    produced_ += static_cast<s64>(got);
    return got;
}

// The filter has a memory. What is clipped there is heard by nobody.
s64 resampler::skip(s64 frames) {
    const std::size_t clipped_before = *soxr_num_clips(engine_);
    const s64 done = frame_source::skip(frames);
    *soxr_num_clips(engine_) = clipped_before;
    return done;
}

// One call of the engine: frames made, perhaps none while it is filling its filter.
std::size_t resampler::convert(s32 *interleaved, std::size_t frames) {
    if (block_used_ == block_filled_ && !source_ended_) {
        block_used_ = 0;
        block_filled_ = source_.read(block_.data(), block_frames);
        source_frames_ += static_cast<s64>(block_filled_);
        source_ended_ = block_filled_ < block_frames;
    }
    const bool flush = is_used_up();
    const s32 *input = block_.data() + block_used_ * static_cast<std::size_t>(channels());
    std::size_t used = 0;
    std::size_t made = 0;
    const soxr_error_t error =
        soxr_process(engine_, flush ? nullptr : input, flush ? 0 : block_filled_ - block_used_,
                     &used, interleaved, frames, &made);
    if (error != nullptr) throw processing_error(std::string("sample rate conversion: ") + error);
    block_used_ += used;
    return made;
}

// Once the length of the source is known: cuts what the filter rings on past the end, and fills up
// with silence where it stops short.
std::size_t resampler::complete(s32 *interleaved, std::size_t got, std::size_t frames) {
    if (!source_ended_) return got;
    const s64 length = frames_at_rate(source_frames_, source_.rate(), rate_);
    const auto left =
        static_cast<std::size_t>(std::clamp<s64>(length - produced_, 0, static_cast<s64>(frames)));
    if (got < left) {
        const auto width = static_cast<std::size_t>(channels());
        std::fill(interleaved + got * width, interleaved + left * width, 0);
    }
    return left;
}

void note_conversion(const console &out, const std::string &name, int from_rate, int to_rate) {
    out.note(name + ": converting the sample rate from " + std::to_string(from_rate) + " to " +
             std::to_string(to_rate) + " Hz");
}

} // namespace earshot_tool
