// The parameters of the two groups of filter tables, diffuse and amb.
#include "hrtf/tables.hpp"

namespace earshot {

const s32 hrtf_len_grp[2] = {sizeof hrtf_kemar_diffuse_rfft256 / sizeof(s32[2]),
                             sizeof hrtf_kemar_amb_rfft256 / sizeof(s32[2])};
const s32 hrtf_num_elevation_grp[2] = {18, 1};
const s32 hrtf_fft_size_grp[2] = {256, 256};
const s32 hrtf_azimuth_offset_grp[2] = {256, 256};
const s32 hrtf_q_format_grp[2] = {29, 29};

// Through the hidden names: these addresses stay in the library whatever a program copies.
const hrtf_filter_table hrtf_fft_filter[2] = {hrtf_kemar_diffuse_rfft256, hrtf_kemar_amb_rfft256};
const hrtf_row_table hrtf_table_info[2] = {hrtf_kemar_diffuse_table_info,
                                           hrtf_kemar_amb_table_info};

} // namespace earshot

EARSHOT_EXPORT_TABLE(s32, hrtf_len_grp, [2])
EARSHOT_EXPORT_TABLE(s32, hrtf_num_elevation_grp, [2])
EARSHOT_EXPORT_TABLE(s32, hrtf_fft_size_grp, [2])
EARSHOT_EXPORT_TABLE(s32, hrtf_azimuth_offset_grp, [2])
EARSHOT_EXPORT_TABLE(s32, hrtf_q_format_grp, [2])
EARSHOT_EXPORT_TABLE(earshot::hrtf_filter_table, hrtf_fft_filter, [2])
EARSHOT_EXPORT_TABLE(earshot::hrtf_row_table, hrtf_table_info, [2])
