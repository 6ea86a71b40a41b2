/*
 * Buffers that end at an inaccessible page and lie behind one, or, shifted, one element before the
 * end: at an address with the alignment of their elements and no more. What the pages hold besides
 * is checked by intact().
 */
#ifndef EARSHOT_TESTS_HRTF_GUARDED_HPP
#define EARSHOT_TESTS_HRTF_GUARDED_HPP

#include <algorithm>
#include <cstddef>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace earshot::test {

template <class T> class guarded {
  public:
    explicit guarded(std::size_t count, bool shifted = false) : bytes_(count * sizeof(T)) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t slack = shifted ? alignof(T) : 0;
        open_ = (bytes_ + slack + page - 1) / page * page;
        map_size_ = open_ + 2 * page;
        map_ = static_cast<unsigned char *>(
            mmap(nullptr, map_size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (map_ == MAP_FAILED || mprotect(map_ + page, open_, PROT_READ | PROT_WRITE) != 0)
            throw std::bad_alloc();
        first_ = map_ + page;
        block_ = first_ + open_ - slack - bytes_;
        std::fill(first_, first_ + open_, fill);
    }
    guarded(const guarded &) = delete;
    guarded &operator=(const guarded &) = delete;
    ~guarded() { munmap(map_, map_size_); }

    T *data() const { return reinterpret_cast<T *>(block_); }
    T &operator[](std::size_t i) const { return data()[i]; }
    T *begin() const { return data(); }
    T *end() const { return data() + bytes_ / sizeof(T); }
    bool intact() const {
        const auto untouched = [](unsigned char b) { return b == fill; };
        return std::all_of(first_, block_, untouched) &&
               std::all_of(block_ + bytes_, first_ + open_, untouched);
    }

  private:
    static constexpr unsigned char fill = 0x5A;
    std::size_t bytes_, open_, map_size_;
    unsigned char *map_, *first_, *block_;
};

} // namespace earshot::test

#endif
