// Q31 brought to the width of an output.
#pragma once

#include <cstddef>
#include <optional>

#include "scene/delivery/dither.hpp"

namespace earshot_scenes {

class sample_narrower {
  public:
    // width: bits, 32 for samples that stay as they are. dropped_bits: by which the output is
    // coarser than the signal, for dither; 0: none.
    sample_narrower(int width, int dropped_bits);

    // Goes past so many samples.
    void skip(u64 samples);

    // Dither, rounded half up, clipped: words of the width, zeros below. out may be in.
    void narrow(const s32 *in, s32 *out, std::size_t count);

    bool changes() const { return width_ != 32; }
    u64 clipped() const { return clipped_; }

  private:
    int width_;
    std::optional<triangular_dither> dither_;
    u64 clipped_ = 0;
};

} // namespace earshot_scenes
