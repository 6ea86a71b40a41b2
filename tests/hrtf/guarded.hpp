/*
 * Buffers that end at an inaccessible page and lie behind one, or, shifted, one element before the
 * end: at an address with the alignment of their elements and no more. What the pages hold besides
 * is checked by intact().
 */
#ifndef EARSHOT_TESTS_HRTF_GUARDED_HPP
#define EARSHOT_TESTS_HRTF_GUARDED_HPP

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <map>
#include <new>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace earshot::test {

template <class T> class guarded {
  public:
    explicit guarded(std::size_t count, bool shifted = false) : bytes_(count * sizeof(T)) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t slack = shifted ? alignof(T) : 0;
        open_ = (bytes_ + slack + page - 1) / page * page;
        first_ = take(open_, page);
        block_ = first_ + open_ - slack - bytes_;
        std::fill(first_, first_ + open_, fill);
    }
    guarded(const guarded &) = delete;
    guarded &operator=(const guarded &) = delete;
    ~guarded() { spare(open_).push_back(first_); }

    T *data() const { return reinterpret_cast<T *>(block_); }
    T &operator[](std::size_t i) const { return data()[i]; }
    T *begin() const { return data(); }
    T *end() const { return data() + bytes_ / sizeof(T); }
    bool intact() const {
        return is_untouched(first_, block_) && is_untouched(block_ + bytes_, first_ + open_);
    }

  private:
    static constexpr unsigned char fill = 0x5A;

    static bool is_untouched(const unsigned char *begin, const unsigned char *end) {
        return begin == end ||
               (*begin == fill &&
                std::memcmp(begin, begin + 1, static_cast<std::size_t>(end - begin) - 1) == 0);
    }

    /* Pages between guards are kept for the next block of their size: making them costs more than
     * most calls that are tested. */
    static std::vector<unsigned char *> &spare(std::size_t size) {
        static std::map<std::size_t, std::vector<unsigned char *>> blocks;
        return blocks[size];
    }
    static unsigned char *take(std::size_t size, std::size_t page) {
        std::vector<unsigned char *> &blocks = spare(size);
        if (!blocks.empty()) {
            unsigned char *first = blocks.back();
            blocks.pop_back();
            return first;
        }
        void *map = mmap(nullptr, size + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        unsigned char *first = static_cast<unsigned char *>(map) + page;
        if (map == MAP_FAILED || mprotect(first, size, PROT_READ | PROT_WRITE) != 0)
            throw std::bad_alloc();
        return first;
    }

    std::size_t bytes_, open_;
    unsigned char *first_, *block_;
};

} // namespace earshot::test

#endif
