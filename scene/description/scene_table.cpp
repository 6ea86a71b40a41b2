#include "scene/description/scene_table.hpp"

#include <algorithm>
#include <cmath>

#include "scene/description/quote.hpp"
#include "scene/motion/geometry.hpp"

namespace earshot_scenes {

namespace {

constexpr number_range coordinate{-8191, 8191};
constexpr number_range component{-1.001, 1.001};

std::optional<std::string> fault_of_ranges(const value_layout &layout, const double *numbers) {
    for (std::size_t i = 0; i < layout.names.size(); ++i)
        if (!layout.ranges[i].contains(numbers[i]))
            return layout.names[i] + " " + layout.ranges[i].violation(numbers[i]);
    return std::nullopt;
}

std::optional<std::string> fault_of_quaternion(const value_layout &layout, const double *numbers) {
    if (auto fault = fault_of_ranges(layout, numbers)) return fault;
    double square = 0;
    for (std::size_t i = 0; i < 4; ++i) square += numbers[i] * numbers[i];
    const double modulus = std::sqrt(square);
    if (std::abs(modulus - 1) <= 0.001) return std::nullopt;
    return "the quaternion's modulus is " + number_text(std::round(modulus * 1e4) / 1e4) +
           ", not 1";
}

s32 q31(double value) {
    return static_cast<s32>(std::clamp<s64>(std::llround(value * 0x1p31), -INT32_MAX, INT32_MAX));
}

std::vector<std::string> columns_of(const value_layout &layout) {
    std::vector<std::string> columns{"time"};
    columns.insert(columns.end(), layout.names.begin(), layout.names.end());
    return columns;
}

std::string heading_of(const value_layout &layout) {
    std::string text = "time";
    for (const std::string &name : layout.names) text += "," + name;
    return text;
}

bool begins_with_number(std::string_view line) {
    return parse_number(take_until(',', line)).has_value();
}

std::string numbers_text(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " number" : " numbers");
}

} // namespace

s64 samples_of(double seconds) { return std::llround(seconds * scene_rate); }

s32 q16(double value) { return static_cast<s32>(std::llround(value * 65536)); }

template <> const value_layout &layout_of<position>() {
    static const value_layout layout{
        {"x", "y", "z"}, {coordinate, coordinate, coordinate}, fault_of_ranges};
    return layout;
}

template <> const value_layout &layout_of<direction>() {
    static const value_layout layout{
        {"azimuth", "elevation"}, {any_angle, elevation_range}, fault_of_ranges};
    return layout;
}

template <> const value_layout &layout_of<head_angles>() {
    static const value_layout layout{
        {"yaw", "pitch", "roll"}, {any_angle, any_angle, any_angle}, fault_of_ranges};
    return layout;
}

template <> const value_layout &layout_of<quaternion>() {
    static const value_layout layout{
        {"w", "x", "y", "z"}, {component, component, component, component}, fault_of_quaternion};
    return layout;
}

template <> position value_of<position>(const double *numbers) {
    return {q16(numbers[0]), q16(numbers[1]), q16(numbers[2])};
}

template <> direction value_of<direction>(const double *numbers) {
    return {q16(numbers[0]), q16(numbers[1])};
}

template <> head_angles value_of<head_angles>(const double *numbers) {
    return {q16(numbers[0]), q16(numbers[1]), q16(numbers[2])};
}

template <> quaternion value_of<quaternion>(const double *numbers) {
    return normalised({q31(numbers[0]), q31(numbers[1]), q31(numbers[2]), q31(numbers[3])});
}

void number_table::read(const json_place &rows) {
    rows.require_array();
    if (rows.size() == 0) rows.fail("has no rows");
    for (std::size_t k = 0; k < rows.size(); ++k) {
        const json_place row = rows.row(k);
        row.require_array();
        if (!(k == 0 ? choose(row.size()) : row.size() == names_.size()))
            row.fail("has " + numbers_text(row.size()) + ", needs " + needed_widths());
        if (const auto fault = add(row.numbers(names_))) row.fail(*fault);
    }
}

void number_table::read(std::string_view text, const json_place &place, const std::string &name) {
    if (const auto fault = read(text, name)) place.fail(*fault);
}

std::optional<std::string> number_table::read(std::string_view text, const std::string &name) {
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    if (text.starts_with(byte_order_mark)) text.remove_prefix(byte_order_mark.size());
    for (s64 number = 1; !text.empty(); ++number) {
        const std::string_view line = trimmed(take_until('\n', text));
        if (line.empty() || line[0] == '#') continue;
        if (const auto fault = read_line(line))
            return name + ":" + std::to_string(number) + ": " + *fault;
    }
    if (numbers_.empty()) return name + ": has no rows";
    return std::nullopt;
}

std::optional<std::string> number_table::read_line(std::string_view line) {
    const std::size_t width = pieces_at_commas(line);
    if (names_.empty()) {
        if (choose(line)) return std::nullopt;
        if (!begins_with_number(line) || heading_ == heading::required)
            return "the heading " + in_quotes(line) + " is not " + needed_headings();
        choose(width);
    }
    if (width != names_.size()) return "has " + numbers_text(width) + ", needs " + needed_widths();
    std::vector<double> row;
    row.reserve(width);
    while (row.size() < width) {
        const std::string_view piece = trimmed(take_until(',', line));
        const auto value = parse_number(piece);
        if (!value) return names_[row.size()] + " " + in_quotes(piece) + " is not a number";
        row.push_back(*value);
    }
    return add(row);
}

bool number_table::choose(std::size_t width) {
    for (std::size_t k = 0; k < kinds_.size() && names_.empty(); ++k)
        if (kinds_[k]->names.size() + 1 == width) take(k);
    return !names_.empty();
}

bool number_table::choose(std::string_view heading) {
    for (std::size_t k = 0; k < kinds_.size() && names_.empty(); ++k) {
        const auto columns = columns_of(*kinds_[k]);
        if (pieces_at_commas(heading) != columns.size()) continue;
        const auto words = split_at_commas(heading);
        if (std::equal(columns.begin(), columns.end(), words.begin(), words.end(),
                       [](const std::string &a, std::string_view b) { return a == trimmed(b); }))
            take(k);
    }
    return !names_.empty();
}

void number_table::take(std::size_t kind) {
    kind_ = kind;
    names_ = columns_of(*kinds_[kind]);
    kinds_ = {kinds_[kind]};
}

std::string number_table::needed_widths() const {
    std::string text;
    for (const value_layout *kind : kinds_)
        text += (text.empty() ? "" : " or ") + std::to_string(kind->names.size() + 1) + " (" +
                heading_of(*kind) + ")";
    return text;
}

std::string number_table::needed_headings() const {
    std::string text;
    for (const value_layout *kind : kinds_)
        text += (text.empty() ? "" : " or ") + heading_of(*kind);
    return text;
}

// What is wrong with the row, or nothing, when it has been added.
std::optional<std::string> number_table::add(const std::vector<double> &row) {
    if (!time_range.contains(row[0])) return "time " + time_range.violation(row[0]);
    if (!numbers_.empty()) {
        const double last = numbers_[numbers_.size() - row.size()];
        if (samples_of(row[0]) <= samples_of(last))
            return "time " + number_text(row[0]) + " is not after the row before, " +
                   number_text(last);
    }
    const value_layout &layout = *kinds_[0];
    if (auto fault = layout.fault(layout, &row[1])) return fault;
    numbers_.insert(numbers_.end(), row.begin(), row.end());
    return std::nullopt;
}

} // namespace earshot_scenes
