// What of a measurement makes a head: one response for each direction and ear, at the head's rate.
#ifndef EARSHOT_PREPARATION_MEASURED_SET_HPP
#define EARSHOT_PREPARATION_MEASURED_SET_HPP

#include "preparation/sofa.hpp"

#include <string>
#include <vector>

namespace preparation {

// "azimuth 30, elevation -10".
std::string text_of(const unit_vector &where);

class measured_set {
  public:
    // Throws cannot_prepare where no head can be made of it. Tells in `notes` what was left out.
    measured_set(sofa_measurement from, std::vector<std::string> &notes);

    const unit_vectors &directions() const { return directions_; }
    const sofa_measurement &file() const { return file_; }
    double distance() const { return distance_; }         // metres
    double common_delay() const { return common_delay_; } // seconds, taken off all responses

    // Bins from DC to half of table_rate of a response without the common delay; nothing above half
    // the rate of the file.
    spectrum response(std::size_t direction, std::size_t ear) const;

  private:
    void choose(std::vector<std::string> &notes);
    void check_sound() const;
    void find_onset();
    void choose_grids();

    std::span<const float> samples(std::size_t direction, std::size_t ear) const {
        return file_.response(chosen_[direction], ear);
    }
    double delay(std::size_t direction, std::size_t ear) const { // seconds
        return file_.delays[chosen_[direction]][ear] / file_.rate;
    }

    sofa_measurement file_;
    std::vector<std::size_t> chosen_; // of the file's measurements
    unit_vectors directions_;
    double distance_ = 0, common_delay_ = 0;
    std::size_t file_grid_ = 0, table_grid_ = 0; // transforms of the same step in frequency
};

} // namespace preparation

#endif
