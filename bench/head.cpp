// Filters of a head by direction, on the built-in one: as a source goes round, every direction is
// another one. Results are checked by the tests.
#include "cases.hpp"

#include <earshot/head.h>

namespace earshot_bench {
namespace {

class head_directions {
  public:
    head_directions() : memory_(earshot_head_builtin_size() / sizeof(s32)) {
        earshot_head_builtin(memory_.data(), memory_.size() * sizeof(s32), &head_);
    }
    void next() {
        azimuth_ = (azimuth_ + 7 * 65536 + 12345) % (360 * 65536);
        elevation_ = (elevation_ + 3 * 65536 + 4321) % (90 * 65536);
        earshot_head_filter(head_, azimuth_, elevation_, &pair_);
    }

  private:
    buffer<s32> memory_;
    const earshot_head *head_ = nullptr;
    s32 azimuth_ = 0, elevation_ = 0;
    earshot_filter_pair pair_;
};

} // namespace

std::vector<bench_case> head_cases() {
    const auto enlist = [] {
        std::vector<contestant> all;
        on_every_isa([&](const char *isa, auto enter) {
            const auto head = std::make_shared<head_directions>();
            const auto run = [=](unsigned calls) {
                for (unsigned i = 0; i < calls; ++i) head->next();
            };
            all.push_back({isa, run, [] {}, enter});
        });
        return all;
    };
    return {{"head filter", 1, "ns", 1, enlist}};
}

} // namespace earshot_bench
