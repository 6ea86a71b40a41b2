// The HRTF tables under their internal names: the data is in tables.S, what points to it and tells
// its sizes in table_groups.cpp.
#ifndef EARSHOT_HRTF_TABLES_HPP
#define EARSHOT_HRTF_TABLES_HPP

#include "kernel/export_table.hpp"

#include <earshot/hrtf.h>

// These three lie one after the other without gaps, in this order.
EARSHOT_DECLARE_TABLE(s32, hrtf_kemar_diffuse_rfft256, [125952][2])
EARSHOT_DECLARE_TABLE(s32, hrtf_kemar_amb_rfft256, [6400][2])
EARSHOT_DECLARE_TABLE(hrtf_table_row, hrtf_kemar_diffuse_table_info, [18])

EARSHOT_DECLARE_TABLE(hrtf_table_row, hrtf_kemar_amb_table_info, [1])

// By group of tables: diffuse, amb.
EARSHOT_DECLARE_TABLE(s32, hrtf_len_grp, [2])
EARSHOT_DECLARE_TABLE(s32, hrtf_num_elevation_grp, [2])
EARSHOT_DECLARE_TABLE(s32, hrtf_fft_size_grp, [2])
EARSHOT_DECLARE_TABLE(s32, hrtf_azimuth_offset_grp, [2])
EARSHOT_DECLARE_TABLE(s32, hrtf_q_format_grp, [2])

namespace earshot {
using hrtf_filter_table = const s32 (*)[2]; // complex entries
using hrtf_row_table = const ::hrtf_table_row *;
} // namespace earshot
EARSHOT_DECLARE_TABLE(hrtf_filter_table, hrtf_fft_filter, [2])
EARSHOT_DECLARE_TABLE(hrtf_row_table, hrtf_table_info, [2])

#endif
