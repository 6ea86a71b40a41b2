/*
 * What the built-in head cannot take from the filter tables: a binary file that tools/hrtf_tables
 * writes; head/builtin.cpp tells what is in it.
 */
    .section .rodata.earshot_head, "a", %progbits
    .balign 16
    .global earshot_head_kemar
    .hidden earshot_head_kemar
    .type earshot_head_kemar, %object
earshot_head_kemar:
    .incbin "head/generated/kemar.bin"
    .size earshot_head_kemar, . - earshot_head_kemar

    .section .note.GNU-stack, "", %progbits
