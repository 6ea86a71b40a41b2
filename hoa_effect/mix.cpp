#include "hoa_effect/mix.hpp"

#include "kernel/level_table.hpp"

namespace earshot {

const mix_set &mix_at(level l) {
    static constexpr const mix_set *sets[] = EARSHOT_LEVEL_TABLE(mix);
    return *sets[static_cast<u32>(l)];
}

} // namespace earshot
