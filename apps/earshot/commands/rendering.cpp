#include "commands/rendering.hpp"

#include <map>
#include <set>

namespace earshot_tool {

namespace {

struct clip_counts {
    u64 reading = 0;
    u64 conversion = 0;
};

} // namespace

void describe_inputs(const rendering &work, const console &out) {
    for (const std::string &note : work.notes) out.note(note);
    std::set<std::string> told;
    for (const auto &input : work.inputs)
        if (told.insert(input->file().name()).second) input->describe(out);
}

void report_inputs(const rendering &work, const console &out) {
    std::map<std::string, clip_counts> counts;
    for (const auto &input : work.inputs) {
        clip_counts &sum = counts[input->file().name()];
        sum.reading += input->clipped_on_reading();
        sum.conversion += input->clipped_by_conversion();
    }
    for (const auto &[name, sum] : counts) {
        out.clipped(name, sum.reading, "at full scale on reading");
        out.clipped(name, sum.conversion, "at full scale by the rate conversion");
    }
}

} // namespace earshot_tool
