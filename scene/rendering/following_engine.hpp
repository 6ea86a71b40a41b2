// What the engines have in common that filter with the library's renderer: it follows the signal
// with its headroom and fades filters that change over the whole frame.
#pragma once

#include <memory>
#include <vector>

#include <earshot/binaural.h>

#include "scene/rendering/binaural_engine.hpp"
#include "scene/rendering/library_memory.hpp"

namespace earshot_scenes {

// A head and the memory that it lies in.
using shared_head = std::shared_ptr<const earshot_head>;

// The library's own.
shared_head builtin_head();

// The filters of what both ears hear as it is, but as loud as low frequencies come out of these
// filters of a direction, and as late, to the nearest sample. ears: as those of a pair.
earshot_filter_pair in_time_with(const s32 *const (&ears)[2]);

class following_engine : public binaural_engine {
  public:
    int process(const s32 *const *windows, s32 *ears) override;
    void skip_frame() override {}
    std::optional<int> guard() const override { return guard_; }
    u64 unsafe_frames() const override { return earshot_binaural_unsafe_frames(renderer_); }

  protected:
    // guard: bits of a fixed headroom; nothing: it follows the signal.
    following_engine(const shape &shape, std::optional<int> guard);

    void use(std::size_t source, const earshot_filter_pair &pair);

  private:
    std::optional<int> guard_;
    library_memory memory_;
    earshot_binaural *renderer_ = nullptr;
};

} // namespace earshot_scenes
