// The built-in head, made of the filter tables and of a generated file: the head's header (with a
// checksum of 0), vertices, triangles and cells, then
//
//     u32 [measured]            for record r the filter of the diffuse tables that it is made of;
//                               its delay is that of vertex r's left ear
//     u32 [fillers][256]        the words of the other records
//
// Head and ears are their own mirror image: the right ear of a vertex is the left one opposite.
#include "fft/real.hpp"
#include "head/checksum.hpp"
#include "head/gain.hpp"
#include "head/sections.hpp"
#include "hrtf/tables.hpp"
#include "math/trigonometry.hpp"

#include <string.h>

extern "C" __attribute__((visibility("hidden"))) const unsigned char earshot_head_kemar[];

namespace earshot {
namespace {

constexpr s32 points = 256, taps = 128;
constexpr u32 quarter = 1u << 30; // of a turn

s32 cosine(u32 angle) { return sine_of_turns(angle + quarter); }

constexpr s64 rounded_shift(s64 x, s32 n) { return (x + (s64{1} << (n - 1))) >> n; }

// Delays by a fraction of a sample make whatever begins or ends at once, in time or in frequency,
// ring on through the whole transform. So the first and the last taps fade, by sin^2 of the middle
// of their step, and the top of the spectrum by cos^2, to nothing at Nyquist.
constexpr u32 fade_in = 4, fade_out = 12, highest_flat = 112;

// (1 - cos) / 2 of an odd multiple of half a step, Q31: n + 1/2 steps of a fade so long.
s64 fade_weight(u32 n, u32 length) {
    const u32 angle = static_cast<u32>((u64{1} << 32) / (4 * length) * (2 * n + 1));
    return (s64{1} << 30) - (cosine(angle) >> 1);
}

void fade_ends(s32 *samples) {
    const auto scale = [](s32 &x, s64 weight) {
        x = static_cast<s32>(rounded_shift(x * weight, 31));
    };
    for (u32 n = 0; n < fade_in; ++n) scale(samples[n], fade_weight(n, fade_in));
    for (u32 n = 0; n < fade_out; ++n) scale(samples[taps - 1 - n], fade_weight(n, fade_out));
    memset(samples + taps, 0, (points - taps) * sizeof *samples);
}

// Q30, and with it what the phases of a delay are too small by.
s64 weight_of(u32 bin) {
    constexpr s64 whole = 1073807361; // (32768 / 32767)^2
    if (bin <= highest_flat) return whole;
    const u32 angle = (bin - highest_flat) * (quarter * 2 / (taps - highest_flat));
    return rounded_shift(whole * ((s64{1} << 30) + (cosine(angle) >> 1)), 31);
}

// Taps add up, without their signs, to less than 8 in Q29: three bits less are room enough.
constexpr s32 lowered = 3, spectrum_q = 29 - lowered;

void make_record(s32 *record, const s32 *filter, u32 delay) {
    s32 spectrum[points + 2], samples[points];
    memcpy(spectrum, filter, points * sizeof *filter);
    spectrum[points] = spectrum[1];
    spectrum[1] = spectrum[points + 1] = 0;
    rifft_32x32_scaled(spectrum, points, samples);
    fade_ends(samples);
    rfft_of_shifted(samples, lowered, points, spectrum);
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
    u64 square = 0;
    for (auto &filter : pair.ear) {
        memcpy(filter, azimuth_record, sizeof filter);
        azimuth_record += filter_words;
        const u64 largest = largest_square(filter);
        if (largest > square) square = largest;
    }
    pair.gain = least_bound(square);
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
