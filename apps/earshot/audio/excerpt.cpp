#include "audio/excerpt.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "console.hpp"
#include "error.hpp"

namespace earshot_tool {

namespace {

s64 frame_at(double seconds, int rate) { return std::llround(seconds * rate); }

s64 end_of(const time_span &span, int rate) {
    return span.to ? frame_at(*span.to, rate) : INT64_MAX;
}

} // namespace

void check_span(const time_span &span, int rate) {
    if (frame_at(span.from, rate) >= end_of(span, rate))
        throw usage_error("--to: " + number_text(*span.to) + " is not after " +
                          number_text(span.from) + ", where --from begins");
}

excerpt::excerpt(frame_source &whole, const time_span &span, const std::string &name)
    : whole_(whole), span_(span), name_(name), first_(frame_at(span.from, whole.rate())),
      end_(end_of(span, whole.rate())), position_(first_) {
    if (first_ == 0) return;
    const auto length = whole.frames();
    if (length && *length <= first_) fail_at_end(*length);
    const s64 skipped = whole.skip(first_);
    if (skipped < first_) fail_at_end(skipped);
}

std::optional<s64> excerpt::frames() const {
    const auto length = whole_.frames();
    if (!length) return std::nullopt;
    return std::min(*length, end_) - first_;
}

std::size_t excerpt::read(s32 *interleaved, std::size_t frames) {
    const s64 wanted = std::min(static_cast<s64>(frames), end_ - position_);
    if (wanted == 0) return 0;
    const std::size_t got = whole_.read(interleaved, static_cast<std::size_t>(wanted));
    position_ += static_cast<s64>(got);
    return got;
}

void excerpt::require_frames() const {
    if (first_ > 0 && position_ == first_) fail_at_end(first_);
}

void excerpt::fail_at_end(s64 frames) const {
    const double seconds = static_cast<double>(frames) / whole_.rate();
    throw processing_error(name_, "there is nothing after --from " + number_text(span_.from) +
                                      ": the whole has " +
                                      number_text(std::round(seconds * 1e6) / 1e6) + " seconds, " +
                                      counted(static_cast<u64>(frames), "frame"));
}

} // namespace earshot_tool
