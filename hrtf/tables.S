/*
 * The HRTF tables. The filters are binary files that tools/hrtf_tables writes:
 *     hrtf_tables /usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa hrtf/generated head/generated
 *
 * Diffuse filters, amb filters and the diffuse rows follow each other without gaps: a selection one
 * record past a row, or past the tables, reads what lies next. That is why they are one section of
 * one object file, with one alignment at its start.
 *
 * The library uses the hidden names; the exported ones are aliases (kernel/export_table.hpp).
 */
#include "kernel/table_sections.inc"

.macro begin_table name
    .global earshot_table_\name
    .hidden earshot_table_\name
    .type earshot_table_\name, OBJECT
    .global \name
    .type \name, OBJECT
earshot_table_\name:
\name:
.endm

.macro end_table name
    .size earshot_table_\name, . - earshot_table_\name
    .size \name, . - \name
.endm

/* Elevation in degrees, first record, step in degrees in Q16. A record has 256 entries. */
.macro row elevation, record, step
    .long (\elevation)*65536, (\record)*256, \step
.endm

    CONSTANTS(earshot_hrtf)
    .p2align 4

begin_table hrtf_kemar_diffuse_rfft256
    .incbin "hrtf/generated/diffuse.bin"
end_table hrtf_kemar_diffuse_rfft256

begin_table hrtf_kemar_amb_rfft256
    .incbin "hrtf/generated/amb.bin"
end_table hrtf_kemar_amb_rfft256

/* The step at -40 and 40 degrees is 6.43 degrees; the records are those of 360 / 56. */
begin_table hrtf_kemar_diffuse_table_info
    row -40, 0, 421396
    row -30, 29, 393216
    row -20, 60, 327680
    row -10, 97, 327680
    row 0, 134, 327680
    row 10, 171, 327680
    row 20, 208, 327680
    row 30, 245, 393216
    row 32, 276, 393216
    row 34, 307, 393216
    row 36, 338, 393216
    row 38, 369, 393216
    row 40, 400, 421396
    row 50, 429, 524288
    row 60, 452, 655360
    row 70, 471, 983040
    row 80, 484, 1966080
    row 90, 491, 23592960
end_table hrtf_kemar_diffuse_table_info

/* "Azimuth" k is channel k. */
begin_table hrtf_kemar_amb_table_info
    row 0, 0, 65536
end_table hrtf_kemar_amb_table_info

    END_OF_FILE
