// From a table selector to its tables, and from a direction to a pair of filters in them.
#ifndef EARSHOT_HRTF_SELECTION_HPP
#define EARSHOT_HRTF_SELECTION_HPP

#include <earshot/hrtf.h>

namespace earshot {

// get_filter_info, hrtf_selection.
u32 fill_filter_info(hrtf_filter_info &info);
u32 select_filters(hrtf_instance *instance, hrtf_position *position, hrtf_filter_pair *pair);

} // namespace earshot

#endif
