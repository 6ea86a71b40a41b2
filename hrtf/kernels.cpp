#include "hrtf/kernels.hpp"

#include "kernel/isa_table.hpp"

namespace earshot {

const hrtf_kernels &hrtf_kernels_for(isa i) {
    static constexpr const hrtf_kernels *tables[] = EARSHOT_ISA_TABLE(hrtf);
    return *tables[static_cast<u32>(i)];
}

} // namespace earshot
