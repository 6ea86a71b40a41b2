/*
 * Fields: any directions, quaternions and matrices, whether the library made them or not, blocks
 * between guard pages. Every isa gives the same bits; nothing is written around the channels, and
 * what is refused writes nothing.
 */
#include "fuzz.hpp"

#include <earshot/field.h>

#include <array>
#include <optional>

namespace earshot::fuzz {
namespace {

class field_calls {
  public:
    field_calls(operands &operands, transcript &transcript) : in_(operands), out_(transcript) {}

    void run() {
        directions();
        std::array<earshot_field_rotation, 2> turns{rotation(), rotation()};
        for (u32 i = 0; i < 4 && in_.are_left(); ++i) turn(turns[0], turns[in_.below(2)]);
    }

  private:
    void directions() {
        const u32 order = in_.mostly(1 + in_.below(4));
        const guarded<s32> gains(order <= 4 ? (order + 1) * (order + 1) : 1, in_.flip());
        out_.add_status(earshot_field_gains(order, in_.take<u32>(), in_.take<u32>(), gains.data()),
                        {0, 2});
        out_.add(gains);
    }

    earshot_field_rotation rotation() {
        earshot_field_rotation made{};
        s32 quaternion[4];
        for (s32 &component : quaternion) component = in_.take<s32>();
        out_.add_status(earshot_field_rotation_of(in_.mostly(4), quaternion, &made), {0, 2});
        if (in_.below(4) == 0) made.order = in_.mostly(4);
        for (u32 edits = in_.below(4); edits > 0; --edits)
            made.entries[in_.below(EARSHOT_FIELD_ENTRIES)] = in_.take<s32>();
        out_.add(&made, 1);
        return made;
    }

    void turn(const earshot_field_rotation &from, const earshot_field_rotation &to) {
        const u32 there = in_.below(300);
        const u32 length = in_.mostly(there), begin = in_.mostly(0);
        const u32 frames = std::min(in_.mostly(there), there);
        std::array<s32 *, EARSHOT_FIELD_CHANNELS> channels{};
        for (u32 k = 1; k < EARSHOT_FIELD_CHANNELS; ++k) {
            const auto &block = planes_[k - 1].emplace(there, in_.flip());
            in_.fill(block);
            channels[k] = block.data();
        }
        u64 clipped = 0;
        const u32 status = out_.add_status(
            earshot_field_rotate(&from, &to, length, begin, frames, channels.data(), &clipped),
            {0, 2});
        require(status == 0 || clipped == 0, "what is refused clips nothing");
        out_.add(&clipped, 1);
        for (const auto &block : planes_) out_.add(*block);
    }

    operands &in_;
    transcript &out_;
    std::array<std::optional<guarded<s32>>, EARSHOT_FIELD_CHANNELS - 1> planes_;
};

} // namespace
} // namespace earshot::fuzz

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
    using namespace earshot::fuzz;
    same_on_every_isa(data, size,
                      [](operands &in, transcript &out) { field_calls(in, out).run(); });
    return 0;
}
