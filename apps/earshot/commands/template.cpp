#include "commands/template.hpp"

#include <set>

#include "misspelling.hpp"
#include "scene_library.hpp"

namespace earshot_tool {

namespace {

std::string in_braces(const std::string &name) { return "${" + shortened(name) + "}"; }

class filler {
  public:
    explicit filler(const json &values) : values_(values) {}

    void fill(json &value) {
        if (value.is_string())
            value = filled(value.get<std::string>());
        else if (value.is_structured())
            for (json &inner : value) fill(inner);
    }

    void require_all_used() const {
        for (const auto &[name, value] : values_.items())
            if (!used_.contains(name))
                throw scene_error("values." + shortened(name) + ": the template has no " +
                                  in_braces(name));
    }

  private:
    json filled(const std::string &text) {
        std::string result;
        for (std::size_t at = 0; at < text.size();) {
            if (text[at] != '$') {
                result += text[at++];
            } else if (text.compare(at, 2, "$$") == 0) {
                result += '$';
                at += 2;
            } else {
                const std::size_t end = text.find('}', at);
                if (text.compare(at, 2, "${") != 0 || end == std::string::npos)
                    throw scene_error("a $ in " + in_quotes(text) +
                                      " begins no ${name}; write $$ for a dollar");
                const std::string name = text.substr(at + 2, end - at - 2);
                const json &value = value_of(name);
                if (at == 0 && end + 1 == text.size()) return value;
                result += text_of(name, value);
                at = end + 1;
            }
        }
        return result;
    }

    const json &value_of(const std::string &name) {
        const auto found = values_.find(name);
        if (found == values_.end()) {
            std::vector<std::string> names;
            for (const auto &item : values_.items()) names.push_back(item.key());
            const std::string closest = closest_name(name, names);
            throw scene_error(in_braces(name) + " has no value" +
                              (closest.empty() ? "" : "; there is one of " + in_quotes(closest)));
        }
        used_.insert(name);
        return *found;
    }

    static std::string text_of(const std::string &name, const json &value) {
        if (value.is_string()) return value.get<std::string>();
        if (value.is_structured() || value.is_null())
            throw scene_error("values." + shortened(name) + ": is " + value.type_name() +
                              ", which cannot stand within a longer text");
        return value.dump();
    }

    const json &values_;
    std::set<std::string> used_;
};

} // namespace

json filled_template(const json &form, const json &values) {
    filler with(values);
    json result = form;
    with.fill(result);
    with.require_all_used();
    return result;
}

} // namespace earshot_tool
