#include "scene/description/json_place.hpp"

#include <algorithm>
#include <cmath>
#include <set>

#include "scene/description/quote.hpp"

namespace earshot_scenes {

namespace {

// No scene comes near these. They bound the time and the memory that a text can take, whatever it
// is: a value of a few characters is a hundred bytes of a document.
constexpr std::size_t deepest = 64;
constexpr std::size_t most_keys = 64; // of an object
constexpr std::size_t most_values = 2'000'000;

// Looks through a document without keeping it: for what is not JSON, for what is beyond the bounds,
// and for repeated keys, of which a document would keep the last.
class json_checker : public nlohmann::json_sax<json> {
  public:
    explicit json_checker(std::string_view text) : text_(text) {}

    bool null() override { return count_item(); }
    bool boolean(bool) override { return count_item(); }
    bool number_integer(number_integer_t) override { return count_item(); }
    bool number_unsigned(number_unsigned_t) override { return count_item(); }
    bool number_float(number_float_t, const string_t &) override { return count_item(); }
    bool string(string_t &) override { return count_item(); }
    bool binary(binary_t &) override { return count_item(); }

    bool start_array(std::size_t) override { return open(true); }
    bool end_array() override { return close(); }
    bool start_object(std::size_t) override { return open(false); }
    bool end_object() override { return close(); }

    bool key(string_t &name) override {
        level &object = levels_.back();
        object.key = shortened(name);
        if (!object.keys.insert(name).second) fail("is given twice");
        if (object.keys.size() > most_keys)
            fail("is key number " + std::to_string(most_keys + 1) + " of its object");
        return true;
    }

    // position: characters read, the token that is wrong among them.
    bool parse_error(std::size_t position, const std::string &token,
                     const nlohmann::detail::exception &error) override {
        constexpr int number_overflow = 406;
        if (error.id == number_overflow)
            fail_at(position - 1, "the number " + shortened(token) + " is too large");
        if (position > text_.size()) fail_at(text_.size(), "the text ends too early");
        const char last = text_[position - 1];
        fail_at(position - 1, last > ' ' && last < 127 ? std::string("not JSON at '") + last + "'"
                                                       : std::string("not JSON"));
    }

  private:
    // An object or array that has begun and not ended.
    struct level {
        bool is_array;
        std::size_t items = 0;
        std::string key;
        std::set<std::string> keys;
    };

    bool count_item() {
        if (!levels_.empty()) ++levels_.back().items;
        if (++values_ > most_values)
            fail("is value number " + std::to_string(most_values + 1) +
                 " of the text; long tracks belong into tables");
        return true;
    }
    bool open(bool is_array) {
        count_item();
        levels_.push_back({is_array, 0, {}, {}});
        if (levels_.size() > deepest)
            fail("is nested more than " + std::to_string(deepest) + " deep");
        return true;
    }
    bool close() {
        levels_.pop_back();
        return true;
    }

    std::string place() const {
        std::string path;
        for (const level &each : levels_) {
            if (each.is_array && each.items > 0) path += "[" + std::to_string(each.items - 1) + "]";
            if (!each.is_array) path += (path.empty() ? "" : ".") + each.key;
        }
        return shortened(path);
    }

    [[noreturn]] void fail(const std::string &reason) const {
        throw scene_error(place() + ": " + reason);
    }

    // position: bytes of the text before the place.
    [[noreturn]] void fail_at(std::size_t position, const std::string &reason) const {
        const std::string_view before = text_.substr(0, position);
        const auto line = std::count(before.begin(), before.end(), '\n') + 1;
        const std::size_t begin = before.rfind('\n') + 1; // 0 where there is none
        throw scene_error("line " + std::to_string(line) + ", column " +
                          std::to_string(position - begin + 1) + ": " + reason);
    }

    std::string_view text_;
    std::vector<level> levels_;
    std::size_t values_ = 0;
};

std::string with_article(const json &value) {
    std::string type = value.type_name();
    if (type == "null") return type;
    return (type == "array" || type == "object" ? "an " : "a ") + type;
}

} // namespace

json parse_json(std::string_view text) {
    if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) throw scene_error("is empty");
    json_checker checker(text);
    json::sax_parse(text, &checker);
    return json::parse(text);
}

void json_place::fail(const std::string &reason) const {
    throw scene_error(name_.empty() ? reason : name_ + ": " + reason);
}

void json_place::fail_type(const char *needed) const {
    fail("is " + with_article(*value_) + ", needs " + needed);
}

double json_place::number(const number_range &range) const {
    if (!value_->is_number()) fail_type("a number");
    const auto number = value_->get<double>();
    if (!range.contains(number)) fail(range.violation(number));
    return number;
}

double json_place::number_above_0(double most) const {
    const double value = number({0, most});
    if (value == 0) fail("0 is not above 0");
    return value;
}

int json_place::whole_number(const number_range &range) const {
    const double value = number(range);
    if (value != std::floor(value)) fail(number_text(value) + " is not a whole number");
    return static_cast<int>(value);
}

bool json_place::boolean() const {
    if (!value_->is_boolean()) fail_type("true or false");
    return value_->get<bool>();
}

const std::string &json_place::text() const {
    if (!is_text()) fail_type("a string");
    return value_->get_ref<const std::string &>();
}

void json_place::require_object() const {
    if (!value_->is_object()) fail_type("an object");
}

void json_place::require_array() const {
    if (!value_->is_array()) fail_type("an array");
}

void json_place::require_keys(std::initializer_list<const char *> known) const {
    require_object();
    std::string known_text;
    for (const char *key : known) known_text += (known_text.empty() ? "" : ", ") + std::string(key);
    for (const auto &[key, value] : value_->items())
        if (std::find(known.begin(), known.end(), key) == known.end())
            json_place(value, (name_.empty() ? "" : name_ + ".") + shortened(key))
                .fail("unknown key; there are " + known_text);
}

std::optional<json_place> json_place::find(const char *key) const {
    const auto found = value_->find(key);
    if (found == value_->end()) return std::nullopt;
    return json_place(*found, name_.empty() ? key : name_ + "." + key);
}

json_place json_place::at(const char *key) const {
    if (const auto found = find(key)) return *found;
    fail("'" + std::string(key) + "' is missing");
}

json_place json_place::item(std::size_t index) const {
    return {(*value_)[index], name_ + "[" + std::to_string(index) + "]"};
}

json_place json_place::row(std::size_t index) const {
    return {(*value_)[index], name_ + " row " + std::to_string(index + 1)};
}

std::vector<double> json_place::numbers(const std::vector<std::string> &names) const {
    std::vector<double> all;
    all.reserve(names.size());
    for (const json &item : *value_) {
        if (!item.is_number())
            fail(names[all.size()] + " is " + with_article(item) + ", needs a number");
        all.push_back(item.get<double>());
    }
    return all;
}

std::optional<std::string> json_place::only_one_of(std::initializer_list<const char *> keys) const {
    std::optional<std::string> found;
    for (const char *key : keys) {
        if (!value_->contains(key)) continue;
        if (found) fail("has both '" + *found + "' and '" + key + "'");
        found = key;
    }
    return found;
}

} // namespace earshot_scenes
