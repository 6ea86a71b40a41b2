#include "spatial/gain.hpp"

#include "kernel/isa_table.hpp"

namespace earshot {

const gain_kernels &gain_kernels_for(isa i) {
    static constexpr const gain_kernels *tables[] = EARSHOT_ISA_TABLE(gain);
    return *tables[static_cast<u32>(i)];
}

} // namespace earshot
