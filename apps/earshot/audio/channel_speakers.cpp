#include "audio/channel_speakers.hpp"

namespace earshot_tool {

namespace {

using enum loudspeaker;

// For a number of channels, the order that Vorbis I and Opus (RFC 7845) have for it.
loudspeakers vorbis_speakers(int channels) {
    switch (channels) {
    case 3:
        return {front_left, front_centre, front_right};
    case 5:
        return {front_left, front_centre, front_right, back_left, back_right};
    case 6:
        return {front_left, front_centre, front_right, back_left, back_right, low_frequency};
    case 7:
        return {front_left, front_centre, front_right,  side_left,
                side_right, back_centre,  low_frequency};
    case 8:
        return {front_left, front_centre, front_right, side_left,
                side_right, back_left,    back_right,  low_frequency};
    default:
        return {};
    }
}

// FLAC (RFC 9639) has the order of masks.
loudspeakers flac_speakers(int channels) {
    switch (channels) {
    case 3:
        return loudspeakers_of_mask(0x7);
    case 5:
        return loudspeakers_of_mask(0x37);
    case 6:
        return loudspeakers_of_mask(0x3F);
    case 7:
        return loudspeakers_of_mask(0x70F);
    case 8:
        return loudspeakers_of_mask(0x63F);
    default:
        return {};
    }
}

loudspeakers named_speakers(const sound_header &header, int channels) {
    switch (header.order) {
    case channel_order::mask:
        return loudspeakers_of_mask(header.mask);
    case channel_order::flac:
        return flac_speakers(channels);
    case channel_order::vorbis:
        return vorbis_speakers(channels);
    case channel_order::unknown:
        break;
    }
    return {};
}

} // namespace

loudspeakers channel_speakers(const sound_header &header, int channels) {
    loudspeakers all = named_speakers(header, channels);
    if (all.size() != static_cast<std::size_t>(channels)) all.clear();
    return all;
}

} // namespace earshot_tool
