#include "hrtf/selection.hpp"

#include "hrtf/tables.hpp"
#include "kernel/scalar.hpp"
#include "math/division.hpp"

namespace earshot {
namespace {

constexpr s32 lowest_elevation = -40 * 65536;
constexpr s32 highest_elevation = 90 * 65536;
constexpr s32 half_turn = 180 * 65536;
constexpr s32 full_turn = 360 * 65536;

constexpr u32 entry_size = 2 * sizeof(s32);

// The amb filters and the rows of the diffuse tables follow the diffuse filters in memory.
constexpr u64 tables_size = sizeof hrtf_kemar_diffuse_rfft256 + sizeof hrtf_kemar_amb_rfft256 +
                            sizeof hrtf_kemar_diffuse_table_info;

u16 nearest_row(s32 elevation, s32 count, const hrtf_table_row *rows) {
    u32 best = s32_max;
    u16 nearest = 0;
    for (s32 i = 0; i < count; ++i) {
        const u32 distance = u32_abs_s32_sat(wrap_sub(elevation, rows[i].elevation));
        if (distance >= best) continue;
        best = distance;
        nearest = static_cast<u16>(i);
    }
    return nearest;
}

// The same direction from 0 to 360 degrees. Negative angles come out below 360, larger ones above
// 0, so that -360 gives 0 but 720 gives 360: the two ends of the circle differ in the ear that the
// stored record is for.
constexpr s32 into_circle(s32 azimuth) {
    const s32 rest = azimuth % full_turn;
    if (azimuth < 0) return rest < 0 ? rest + full_turn : 0;
    return azimuth > full_turn && rest == 0 ? full_turn : azimuth > full_turn ? rest : azimuth;
}

u32 select_in_row(const hrtf_filter_info &info, s32 azimuth, const hrtf_table_row &row,
                  hrtf_filter_pair *pair) {
    const s32 turn = into_circle(azimuth);
    const bool mirrored = turn > half_turn;
    const s32 quotient = divide_qx(mirrored ? full_turn - turn : turn, row.azimuth_step, 1);
    const u32 record = (static_cast<u32>(quotient) + 1) >> 1;

    // Byte offsets from the start of the tables; before it they wrap and are too large as well.
    const uintptr_t tables = reinterpret_cast<uintptr_t>(&hrtf_kemar_diffuse_rfft256);
    const u64 record_size = entry_size * static_cast<u64>(info.azimuth_offset);
    const u64 start = u64{reinterpret_cast<uintptr_t>(info.filters)} - tables +
                      entry_size * static_cast<u64>(row.offset) + record * record_size;
    if (record_size > tables_size || start > tables_size - record_size) return EARSHOT_BAD_VALUE;

    const s32 *first = reinterpret_cast<const s32 *>(tables + static_cast<uintptr_t>(start));
    const s32 *second = first + 2 * (info.azimuth_offset / 2);
    pair->ear[0] = mirrored ? second : first;
    pair->ear[1] = mirrored ? first : second;
    return EARSHOT_OK;
}

u32 select_in_row(const hrtf_instance *instance, const hrtf_position *position, u32 row,
                  hrtf_filter_pair *pair) {
    if (instance == nullptr || instance->info == nullptr) return EARSHOT_BAD_MEMORY;
    const hrtf_filter_info &info = *instance->info;
    if (s64{row} >= info.num_elevations) return EARSHOT_BAD_VALUE;
    return select_in_row(info, position->azimuth, info.table_info[row], pair);
}

} // namespace

u32 fill_filter_info(hrtf_filter_info &info) {
    if (info.table_selector == 3) return EARSHOT_BAD_VALUE;
    const u32 group = info.table_selector == 2 ? 1 : 0;
    info.q_format = hrtf_q_format_grp[group];
    info.fft_size = hrtf_fft_size_grp[group];
    info.azimuth_offset = hrtf_azimuth_offset_grp[group];
    info.length = hrtf_len_grp[group];
    info.num_elevations = hrtf_num_elevation_grp[group];
    info.table_info = hrtf_table_info[group];
    info.filters = hrtf_fft_filter[group];
    return EARSHOT_OK;
}

u32 select_filters(hrtf_instance *instance, hrtf_position *position, hrtf_filter_pair *pair) {
    if (instance == nullptr || instance->info == nullptr) return EARSHOT_BAD_MEMORY;
    const hrtf_filter_info &info = *instance->info;
    if (position->elevation < lowest_elevation) position->elevation = lowest_elevation;
    if (position->elevation > highest_elevation) position->elevation = highest_elevation;
    const u16 row = nearest_row(position->elevation, info.num_elevations, info.table_info);
    return select_in_row(info, position->azimuth, info.table_info[row], pair);
}

} // namespace earshot

extern "C" {

u32 get_filter_info(hrtf_filter_info **info) { return earshot::fill_filter_info(**info); }
u32 hrtf_selection(hrtf_instance *instance, hrtf_position *position, hrtf_filter_pair *pair) {
    return earshot::select_filters(instance, position, pair);
}
u16 find_nearest_elevation(s32 elevation, s32 count, const hrtf_table_row *rows) {
    return earshot::nearest_row(elevation, count, rows);
}
u32 find_nearest_filt(hrtf_instance *instance, hrtf_position *position, u32 row,
                      hrtf_filter_pair *pair) {
    return earshot::select_in_row(instance, position, row, pair);
}

} // extern "C"
