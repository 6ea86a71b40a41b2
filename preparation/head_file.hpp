// A head's bytes, of what it consists of.
#ifndef EARSHOT_PREPARATION_HEAD_FILE_HPP
#define EARSHOT_PREPARATION_HEAD_FILE_HPP

#include "preparation/response.hpp"
#include "preparation/triangulation.hpp"

#include <earshot/types.h>

#include <string>
#include <vector>

namespace preparation {

struct head_parts {
    struct ear {
        std::uint32_t record;
        double delay; // samples
    };
    std::string name;
    unit_vectors vertices; // measured ones first
    std::size_t measured = 0;
    std::vector<std::array<ear, 2>> ears; // by vertex
    std::vector<triangle> hull;
    std::vector<std::array<spectrum, 2>> channels; // fft_bins each
    std::vector<spectrum> records;                 // likewise, without their delays
};

// Words of a head, low byte first on any processor that earshot is built for.
using head_words = std::vector<u32>;

// What precedes the channels, with the sizes of the whole head and a checksum of 0.
head_words write_geometry(const head_parts &head);

head_words write_head(const head_parts &head);

// The words of a record. No part of a bin may reach 4.
head_words write_record(const spectrum &bins);

} // namespace preparation

#endif
