// Constant tables that are exported.
#ifndef EARSHOT_KERNEL_EXPORT_TABLE_HPP
#define EARSHOT_KERNEL_EXPORT_TABLE_HPP

// Defines a constant table, to be followed by its initialiser, as earshot::name, and below it the
// exported name as an alias. The library reads its tables under the hidden name: a program that
// names the exported one gets a copy of its own by copy relocation, and our addresses must not
// follow it there. extent is the bracketed part of the declaration.
#define EARSHOT_DECLARE_TABLE(type, name, extent)                                                  \
    namespace earshot {                                                                            \
    extern __attribute__((visibility("hidden")))                                                   \
    const type name extent __asm__("earshot_table_" #name);                                        \
    }

#define EARSHOT_EXPORT_TABLE(type, name, extent)                                                   \
    extern "C" __attribute__((visibility("default"), alias("earshot_table_" #name)))               \
    const type name extent;

#endif
