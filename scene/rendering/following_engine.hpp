// What the engines have in common that filter with the library's renderer: it follows the signal
// with its headroom and fades filters that change over the whole frame.
#pragma once

#include <memory>
#include <vector>

#include <earshot/binaural.h>

#include "scene/rendering/binaural_engine.hpp"
#include "scene/rendering/library_memory.hpp"

namespace earshot_scene {

// A head and the memory that it lies in.
using shared_head = std::shared_ptr<const earshot_head>;

// The library's own.
shared_head builtin_head();

// The filters of what is heard as it is.
const earshot_filter_pair &unfiltered();

class following_engine : public binaural_engine {
  public:
    void place_everywhere(std::size_t source) override { use(source, unfiltered()); }
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

} // namespace earshot_scene
