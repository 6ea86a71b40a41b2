// Makes a head of a measurement.
#ifndef EARSHOT_PREPARATION_PREPARE_HPP
#define EARSHOT_PREPARATION_PREPARE_HPP

#include <earshot/types.h>

#include <array>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace preparation {

// Why no head can be made of a file, and what to do instead, in a line without the file's name.
struct cannot_prepare : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct head_options {
    std::string name;     // of the head; empty: what the file calls it
    bool equalise = true; // by the diffuse-field average
};

// What was found and done, for reports.
struct head_report {
    struct direction {
        double azimuth, elevation;   // degrees
        double weight;               // share of the sphere; of filled ones as well
        std::array<double, 2> delay; // of the ears, samples
    };
    std::string name;
    double rate = 0;         // of the file, Hz
    std::size_t length = 0;  // of its responses, samples
    std::size_t in_file = 0; // directions in the file
    double distance = 0;     // of those used, metres
    std::size_t measured = 0;
    std::vector<direction> directions; // measured ones first
    double common_delay = 0;           // taken off all responses, ms
    double energy_lost = 0;            // in the mean, by the cut to 128 taps, dB
    double most_energy_lost = 0;       // of a single response, dB
    double gain = 0;                   // dB, of all but the equaliser
    std::vector<double> equaliser;     // dB, at multiples of 187.5 Hz; empty where there is none
};

struct prepared_head {
    std::vector<u32> words; // the bytes of the head; see earshot/head.h
    head_report report;
    std::vector<std::string> notes; // what whoever uses the head should know, a line each
};

// The bytes of a SOFA file to a head. Throws cannot_prepare.
prepared_head prepare_head(std::span<const char> sofa, const head_options &options);

} // namespace preparation

#endif
