// Rows of numbers, in a scene's text or in a table of comma-separated values, and what they mean.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "scene/description/json_place.hpp"
#include "scene/motion/track.hpp"

namespace earshot_scenes {

inline constexpr number_range time_range{0, 365.0 * 24 * 3600}; // seconds
inline constexpr number_range any_angle{-32767, 32767};         // degrees

s64 samples_of(double seconds);
s32 q16(double value); // to the nearest unit

// The numbers of a value of some type, and their names and ranges.
struct value_layout {
    std::vector<std::string> names;
    std::vector<number_range> ranges;

    // What is wrong with numbers, if anything.
    std::optional<std::string> (*fault)(const value_layout &layout, const double *numbers);
};

template <class Value> const value_layout &layout_of();
template <class Value> Value value_of(const double *numbers);

// Rows whose first number is the time.
class number_table {
  public:
    // Of a table as text: a heading that may be missing tells no more than the width of the rows.
    enum class heading { required, optional };

    // One of these kinds, told apart by the width of the rows.
    explicit number_table(std::vector<const value_layout *> kinds,
                          heading heading = heading::required)
        : kinds_(std::move(kinds)), heading_(heading) {}

    // From an array of rows. Throws scene_error.
    void read(const json_place &rows);
    // From a table with a heading. Throws scene_error "PLACE: NAME:LINE: reason".
    void read(std::string_view text, const json_place &place, const std::string &name);
    // The same without a place; what is wrong, "NAME:LINE: reason", if anything is.
    std::optional<std::string> read(std::string_view text, const std::string &name);

    std::size_t kind() const { return kind_; }

    template <class Value> track<Value> rows() const {
        track<Value> rows;
        const std::size_t width = names_.size();
        rows.reserve(numbers_.size() / width);
        for (std::size_t i = 0; i < numbers_.size(); i += width)
            rows.push_back({samples_of(numbers_[i]), value_of<Value>(&numbers_[i + 1])});
        return rows;
    }

  private:
    bool choose(std::string_view heading);
    bool choose(std::size_t width);
    void take(std::size_t kind);
    std::string needed_widths() const;
    std::string needed_headings() const;
    std::optional<std::string> read_line(std::string_view line);
    std::optional<std::string> add(const std::vector<double> &row);

    std::vector<const value_layout *> kinds_;
    heading heading_;
    std::size_t kind_ = 0;
    std::vector<std::string> names_; // of the columns, once the kind is known
    std::vector<double> numbers_;    // row after row
};

} // namespace earshot_scenes
