// Where interleaved audio comes from: a file, or another source with something done to it.
#pragma once

#include <cstddef>
#include <optional>

#include <earshot/types.h>

namespace earshot_scenes {

class frame_source {
  public:
    virtual ~frame_source() = default;

    virtual int channels() const = 0;
    virtual int rate() const = 0; // Hz

    // The whole length, where it is known before the end is reached.
    virtual std::optional<s64> frames() const = 0;

    // Goes on for as long as it is asked to, and has no say in when a mixture ends.
    virtual bool endless() const { return false; }

    // Up to `frames` interleaved frames of Q31; fewer than asked for only at the end.
    virtual std::size_t read(s32 *interleaved, std::size_t frames) = 0;

    // Goes past so many frames; what is read next is, to the last bit, what it would have been had
    // they been read. Returns how many there were: fewer only at the end. Reads them, unless a
    // source knows something better.
    virtual s64 skip(s64 frames);
};

// Frames that the commands handle at a time: long enough that calls cost nothing, short enough for
// the second-level cache with a field of 25 channels.
inline constexpr std::size_t block_frames = 2048;

} // namespace earshot_scenes
