// The same work on many things, by all processors.
#ifndef EARSHOT_PREPARATION_PARALLEL_HPP
#define EARSHOT_PREPARATION_PARALLEL_HPP

#include <algorithm>
#include <cstddef>
#include <future>
#include <thread>
#include <vector>

namespace preparation {

// Calls work(n) for each n below count, in any order. What they write must not be shared.
template <typename Work> void for_all(std::size_t count, Work work) {
    const std::size_t parts = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 16);
    std::vector<std::future<void>> others;
    const auto part = [&](std::size_t which) {
        for (std::size_t n = which; n < count; n += parts) work(n);
    };
    for (std::size_t p = 1; p < std::min(parts, count); ++p)
        others.push_back(std::async(std::launch::async, part, p));
    part(0);
    for (auto &one : others) one.get();
}

} // namespace preparation

#endif
