/*
 * What the built-in head cannot take from the filter tables: a binary file that tools/hrtf_tables
 * writes; head/builtin.cpp tells what is in it.
 */
#include "kernel/table_sections.inc"

    CONSTANTS(earshot_head)
    .p2align 4
    .global earshot_head_kemar
    .hidden earshot_head_kemar
    .type earshot_head_kemar, OBJECT
earshot_head_kemar:
    .incbin "head/generated/kemar.bin"
    .size earshot_head_kemar, . - earshot_head_kemar

    END_OF_FILE
