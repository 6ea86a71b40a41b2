// The amb set: binaural filters of the channels of a fourth-order ambisonic signal.
#ifndef EARSHOT_TOOLS_HRTF_AMB_SET_HPP
#define EARSHOT_TOOLS_HRTF_AMB_SET_HPP

#include "diffuse_set.hpp"

#include <vector>

namespace hrtf {

// One pair of filters for each channel, ACN order, SN3D: the sum over the channels of a plane
// wave's encoding gains times these is the diffuse set's response for its direction.
std::vector<ear_pair> make_amb_set(const equalised_set &diffuse);

} // namespace hrtf

#endif
