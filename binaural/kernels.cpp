#include "binaural/kernels.hpp"

#include "kernel/isa_table.hpp"

namespace earshot {

const binaural_kernels &binaural_kernels_for(isa i) {
    static constexpr const binaural_kernels *tables[] = EARSHOT_ISA_TABLE(binaural);
    return *tables[static_cast<u32>(i)];
}

} // namespace earshot
