// A rendered sound at the level and the rate of the output.
//
// Without a conversion the stream itself applies the level and clips. Where the rate is converted,
// samples may be higher before than after it: they go through with room above full scale, and are
// clipped at the end.
#pragma once

#include "audio/resampler.hpp"
#include "scene/rendering/rendered_stream.hpp"

namespace earshot_tool {

class leveled_sound : public frame_source {
  public:
    static constexpr int usual_room = 6; // bits, 36 dB; 26 bits are left below full scale

    // Before the first read of the stream. room: above full scale, for a conversion.
    leveled_sound(rendered_stream &stream, const output_level &level, const sample_range &range,
                  int rate, int room = usual_room);

    int channels() const override { return stream_.channels(); }
    int rate() const override { return last_.rate(); }
    std::optional<s64> frames() const override { return last_.frames(); }
    std::size_t read(s32 *interleaved, std::size_t frames) override;
    s64 skip(s64 frames) override { return last_.skip(frames); }

    u64 clipped() const { return clipped_ + stream_.clipped(); }

    // Of what has been read, before any clipping; full scale is 2^31.
    double peak() const;

  private:
    rendered_stream &stream_;
    output_level level_;
    sample_range range_;
    int room_;
    std::optional<resampler> converted_;
    frame_source &last_;
    s64 converted_peak_ = 0; // full scale is 2^31
    u64 clipped_ = 0;
};

} // namespace earshot_tool
