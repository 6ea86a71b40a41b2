#include "audio/binaural_input.hpp"

#include "console.hpp"
#include "scene/rendering/binaural_engine.hpp"

namespace earshot_tool {

frame_source &binaural_input::sound() {
    if (repeated_) return *repeated_;
    return file_;
}

frame_source &binaural_input::source() {
    frame_source &source = picked_ ? static_cast<frame_source &>(*picked_) : sound();
    if (file_.rate() == binaural_rate) return source;
    if (!converted_) converted_.emplace(source, binaural_rate);
    return *converted_;
}

frame_source &binaural_input::channel(int number) {
    if (!split_) split_.emplace(source());
    return split_->channel(number);
}

void binaural_input::describe(const console &out) const {
    out.detail(file_.name() + ": " + file_.description());
    if (converted_) note_conversion(out, file_.name(), file_.rate(), binaural_rate);
}

} // namespace earshot_tool
