// The loop of kernels over blocks of any length, over the vector layer.
#ifndef EARSHOT_KERNEL_FOR_EACH_SAMPLE_INL
#define EARSHOT_KERNEL_FOR_EACH_SAMPLE_INL

#include "kernel/vec_scalar.hpp"

namespace earshot {
namespace {

// step(vector type, index) for whole vectors, then for single samples.
template <class V, class Step> void for_each_sample(s32 count, const Step &step) {
    s32 i = 0;
    for (; count - i >= V::width; i += V::width) step(V{}, i);
    for (; i < count; ++i) step(vec_scalar{}, i);
}

} // namespace
} // namespace earshot

#endif
