#include "spatial/gain.hpp"

#include "kernel/level_table.hpp"

namespace earshot {

const gain_set &gain_at(level l) {
    static constexpr const gain_set *sets[] = EARSHOT_LEVEL_TABLE(gain);
    return *sets[static_cast<u32>(l)];
}

} // namespace earshot
