#include "field/kernels.hpp"

#include "kernel/isa_table.hpp"

namespace earshot {

const field_kernels &field_kernels_for(isa i) {
    static constexpr const field_kernels *tables[] = EARSHOT_ISA_TABLE(field);
    return *tables[static_cast<u32>(i)];
}

} // namespace earshot
