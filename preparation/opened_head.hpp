// A head's bytes as renderers use them, through the library.
#ifndef EARSHOT_PREPARATION_OPENED_HEAD_HPP
#define EARSHOT_PREPARATION_OPENED_HEAD_HPP

#include "preparation/direction.hpp"
#include "preparation/response.hpp"

#include <earshot/head.h>

#include <vector>

namespace preparation {

class opened_head {
  public:
    // The words stay the caller's. Throws std::logic_error where the library refuses them.
    explicit opened_head(const std::vector<u32> &words);

    static std::vector<u32> builtin(); // the words of the built-in head

    // The filters of the two ears.
    std::array<spectrum, 2> filters(direction where) const;

    // Their responses, later by `lead` samples: what rings before the sound would lie at the end of
    // the transform.
    static constexpr double lead = 32;
    ear_pair responses(direction where) const;

  private:
    const earshot_head *head_ = nullptr;
};

} // namespace preparation

#endif
