// libavutil's transforms of 32-bit integers. Sums without a factor in both directions; the real
// inverse overwrites its input.
#ifndef EARSHOT_BENCH_AVUTIL_HPP
#define EARSHOT_BENCH_AVUTIL_HPP

#include "shape.hpp"

extern "C" {
#include <libavutil/tx.h>
}

namespace earshot_bench {

class avutil_transform {
  public:
    using sample = s32;
    explicit avutil_transform(const shape &s)
        : stride_(s.real ? sizeof(s32) : sizeof(AVComplexInt32)) {
        const float scale = 1;
        if (av_tx_init(&context_, &function_, s.real ? AV_TX_INT32_RDFT : AV_TX_INT32_FFT,
                       s.inverse, static_cast<int>(s.n), &scale, 0) < 0)
            throw std::runtime_error("libavutil has no such transform");
    }
    avutil_transform(const avutil_transform &) = delete;
    ~avutil_transform() { av_tx_uninit(&context_); }

    void operator()(s32 *in, s32 *out) const { function_(context_, out, in, stride_); }

  private:
    AVTXContext *context_ = nullptr;
    av_tx_fn function_ = nullptr;
    std::ptrdiff_t stride_;
};

} // namespace earshot_bench

#endif
