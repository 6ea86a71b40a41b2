#include "hrtf/kernels.hpp"

#include "kernel/level_table.hpp"

namespace earshot {

const hrtf_set &hrtf_set_at(level l) {
    static constexpr const hrtf_set *sets[] = EARSHOT_LEVEL_TABLE(hrtf);
    return *sets[static_cast<u32>(l)];
}

} // namespace earshot
