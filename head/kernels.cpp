#include "head/kernels.hpp"

#include "kernel/isa_table.hpp"

namespace earshot {

const head_kernels &head_kernels_for(isa i) {
    static constexpr const head_kernels *tables[] = EARSHOT_ISA_TABLE(head);
    return *tables[static_cast<u32>(i)];
}

} // namespace earshot
