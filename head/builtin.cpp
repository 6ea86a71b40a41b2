// The built-in head, made of the filter tables and of a generated file: the head's header (with a
// checksum of 0), vertices, triangles and cells, then
//
//     u32 [measured]            for record r the filter of the diffuse tables that it is made of;
//                               its delay is that of vertex r's left ear
//     u32 [fillers][256]        the words of the other records
//
// Head and ears are their own mirror image: the right ear of a vertex is the left one opposite.
#include "head/checksum.hpp"
#include "head/gain.hpp"
#include "head/response.hpp"
#include "head/sections.hpp"
#include "hrtf/tables.hpp"
#include "math/trigonometry.hpp"

#include <string.h>

extern "C" __attribute__((visibility("hidden"))) const unsigned char earshot_head_kemar[];

namespace earshot {
namespace {

constexpr s32 points = filter_words, taps = 128;
constexpr u32 quarter = 1u << 30; // of a turn

s32 cosine(u32 angle) { return sine_of_turns(angle + quarter); }

constexpr s64 rounded_shift(s64 x, s32 n) { return (x + (s64{1} << (n - 1))) >> n; }

// Delays by a fraction of a sample make whatever begins or ends at once, in time or in frequency,
// ring on through the whole transform. So both ends of a response fade, and so does the top of its
// spectrum, to nothing at Nyquist: less than 0.2 dB at 16 kHz, 0.3 at 18, 2.7 at 20.
//
// What an end loses by its fade goes to the other side of it, mirrored: the sum of the taps stays,
// and with it the level of low frequencies.
constexpr u32 begin_fade = 6, end_fade = 5, end = 127;

// Of the sum of the two taps i + 1/2 steps before and behind an end: (1 - sin) / 2 of (i + 1/2) /
// length quarter turns goes behind it.
void fold(s32 &inside, s32 &outside, u32 i, u32 length) {
    const u32 angle = static_cast<u32>((u64{1} << 29) * (2 * i + 1) / length);
    const s64 sum = s64{inside} + outside, weight = (s64{1} << 30) - (sine_of_turns(angle) >> 1);
    outside = static_cast<s32>(rounded_shift(sum * weight, 31));
    inside = static_cast<s32>(sum - outside);
}

void fade_ends(s32 *samples) {
    memset(samples + taps, 0, (points - taps) * sizeof *samples);
    for (u32 i = 0; i < begin_fade; ++i) fold(samples[i], samples[points - 1 - i], i, begin_fade);
    for (u32 i = 0; i < end_fade; ++i) fold(samples[end - 1 - i], samples[end + i], i, end_fade);
}

// Q30, with what the phases of a delay are too small by. From 1 at bin 82 down by half of a Nuttall
// window (four terms, continuous first derivative), whose spectrum has fallen by 93 dB after 11
// taps.
s64 weight_of(u32 bin) {
    constexpr u32 lowest = 82, nyquist = 128;
    constexpr s64 whole = 1073807361; // (32768 / 32767)^2
    if (bin <= lowest) return whole;
    constexpr s64 terms[] = {764005962, 1046674940, 309735862, 27066884};   // Q31
    const u64 step = (u64{1} << 31) / (nyquist - lowest) * (nyquist - bin); // half a turn in all
    s64 window = 0;                                                         // Q31
    for (u32 k = 0; k < 4; ++k) window += terms[k] * cosine(static_cast<u32>(k * step)) >> 31;
    return rounded_shift(whole * ((s64{1} << 31) - window), 31);
}

void make_record(s32 *record, const s32 *filter, u32 delay) {
    constexpr s32 spectrum_q = 29 - response_lowered;
    s32 spectrum[filter_words + 2];
    change_response(filter, spectrum, fade_ends);
    for (u32 bin = 0; bin < taps; ++bin) {
        const s64 re = spectrum[2 * bin], im = spectrum[2 * bin + 1];
        const u32 turn = bin * (delay << 8); // ahead by the delay; Q16 of 256 samples
        const s64 c = cosine(turn), s = sine_of_turns(turn), weight = weight_of(bin);
        const auto word = [&](s64 product) {
            const s64 q30 = rounded_shift(product, spectrum_q + 1);
            return static_cast<s32>(
                record_word(static_cast<s32>(rounded_shift(q30 * weight, 30 + 30 - 21))));
        };
        record[2 * bin] = word(re * c - im * s);
        record[2 * bin + 1] = bin == 0 ? 0 : word(re * s + im * c);
    }
}

void make_channel(earshot_filter_pair &pair, const s32 *azimuth_record) {
    memcpy(pair.ear, azimuth_record, sizeof pair.ear);
    pair.gain = least_gain(pair);
    pair.reserved = 0;
}

u32 make(void *memory, size_t size, const earshot_head **head) {
    const head_sections parts = sections_of(earshot_head_kemar);
    const head_header &header = *parts.header;
    if (memory == nullptr || head == nullptr || size < header.size ||
        reinterpret_cast<uintptr_t>(memory) % alignof(s32) != 0)
        return EARSHOT_BAD_MEMORY;

    const u32 *sources = parts.nearby + cells, *fillers = sources + header.measured;
    memcpy(memory, &header,
           static_cast<size_t>(sources - reinterpret_cast<const u32 *>(&header)) * sizeof(u32));
    const head_sections made = sections_of(memory);
    auto *const channels = const_cast<earshot_filter_pair *>(made.channels);
    for (u32 c = 0; c < header.channels; ++c)
        make_channel(channels[c], hrtf_kemar_amb_rfft256[c * filter_words]);
    auto *const records = const_cast<s32 *>(made.records);
    for (u32 r = 0; r < header.measured; ++r)
        make_record(records + r * filter_words,
                    hrtf_kemar_diffuse_rfft256[sources[r] * filter_words / 2],
                    parts.vertices[r].delay[0]);
    memcpy(records + header.measured * filter_words, fillers,
           (header.records - header.measured) * filter_words * sizeof(u32));

    auto *const bytes = static_cast<unsigned char *>(memory);
    const u32 checksum = checksum_of(bytes + checksummed_from, header.size - checksummed_from);
    static_cast<head_header *>(memory)->checksum = checksum;
    *head = static_cast<const earshot_head *>(memory);
    return EARSHOT_OK;
}

} // namespace
} // namespace earshot

extern "C" {

size_t earshot_head_builtin_size(void) {
    return earshot::sections_of(earshot_head_kemar).header->size;
}

u32 earshot_head_builtin(void *memory, size_t size, const earshot_head **head) {
    return earshot::make(memory, size, head);
}

} // extern "C"
