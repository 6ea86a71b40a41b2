// A field of fourth order that is turned: a block of 96 frames for a head that rests or turns, and
// the rotation that a turning head asks for in every block. Results are checked by the tests.
#include "cases.hpp"

#include <earshot/field.h>

namespace earshot_bench {
namespace {

constexpr u32 order = EARSHOT_FIELD_ORDER, block = 96;

class turned_field {
  public:
    explicit turned_field(bool turns)
        : samples_(noise(std::size_t{EARSHOT_FIELD_CHANNELS} * block, 3)) {
        for (std::size_t k = 0; k < EARSHOT_FIELD_CHANNELS; ++k)
            channels_.push_back(samples_.data() + k * block);
        turn(from_);
        to_ = from_;
        if (turns) turn(to_);
    }
    void process() {
        earshot_field_rotate(&from_, &to_, block, 0, block, channels_.data(), nullptr);
    }
    void turn() { turn(to_); }

  private:
    void turn(earshot_field_rotation &rotation) {
        head_ += 1 << 20;
        const s32 quaternion[4] = {1 << 30, 1 << 27, 1 << 26, head_};
        earshot_field_rotation_of(order, quaternion, &rotation);
    }

    buffer<s32> samples_;
    std::vector<s32 *> channels_;
    earshot_field_rotation from_, to_;
    s32 head_ = 0;
};

template <class Step> bench_case field_case(const char *name, u32 size, bool turns, Step step) {
    const auto enlist = [=] {
        std::vector<contestant> all;
        on_every_isa([&](const char *isa, auto enter) {
            const auto field = std::make_shared<turned_field>(turns);
            const auto run = [=](unsigned calls) {
                for (unsigned i = 0; i < calls; ++i) step(*field);
            };
            all.push_back({isa, run, [] {}, enter});
        });
        return all;
    };
    return {name, size, "ns", 1, enlist};
}

} // namespace

std::vector<bench_case> field_cases() {
    const auto process = [](turned_field &field) { field.process(); };
    const auto turn = [](turned_field &field) { field.turn(); };
    return {field_case("field at rest", block, false, process),
            field_case("field that turns", block, true, process),
            field_case("field rotation", 1, false, turn)};
}

} // namespace earshot_bench
