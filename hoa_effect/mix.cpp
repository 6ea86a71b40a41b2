#include "hoa_effect/mix.hpp"

#include "kernel/isa_table.hpp"

namespace earshot {

const mix_kernels &mix_kernels_for(isa i) {
    static constexpr const mix_kernels *tables[] = EARSHOT_ISA_TABLE(mix);
    return *tables[static_cast<u32>(i)];
}

} // namespace earshot
