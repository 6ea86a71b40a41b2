// JSON values that know where they stand, so that complaints about them can tell.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "scene/description/parse.hpp"
#include "scene/description/scene.hpp"

namespace earshot_scenes {

using json = nlohmann::json;

// Throws scene_error: "line 3, column 7: ..." for what is not JSON, and with the place for keys
// that an object has twice, for more than 64 of them, for more than 64 levels and for more than two
// million values.
json parse_json(std::string_view text);

// A value in a document that outlives it.
class json_place {
  public:
    // The whole document.
    explicit json_place(const json &value) : value_(&value) {}

    // Throws scene_error with the place in front of the reason.
    [[noreturn]] void fail(const std::string &reason) const;

    bool is_text() const { return value_->is_string(); }
    std::size_t size() const { return value_->size(); }

    // Each throws scene_error where the value is of another type or out of range.
    double number(const number_range &range) const;
    double number_above_0(double most) const;
    int whole_number(const number_range &range) const;
    bool boolean() const;
    const std::string &text() const;

    void require_object() const;
    void require_array() const;
    // An object with some of these keys and no others.
    void require_keys(std::initializer_list<const char *> known) const;

    // A key's value, which need not be there, or must.
    std::optional<json_place> find(const char *key) const;
    json_place at(const char *key) const;

    // An array's item, "sources[2]", or the same as a row, counted from 1: "track row 3".
    json_place item(std::size_t index) const;
    json_place row(std::size_t index) const;

    // The numbers of an array; the items have names for complaints about them.
    std::vector<double> numbers(const std::vector<std::string> &names) const;

    // The only one of these keys that the object has; nothing where it has none.
    std::optional<std::string> only_one_of(std::initializer_list<const char *> keys) const;

  private:
    json_place(const json &value, std::string name) : value_(&value), name_(std::move(name)) {}

    [[noreturn]] void fail_type(const char *needed) const;

    const json *value_;
    std::string name_;
};

} // namespace earshot_scenes
