#include "commands/scene_file.hpp"

#include <filesystem>

#include "audio/sound_header.hpp"
#include "commands/bed_file.hpp"
#include "commands/commands.hpp"
#include "error.hpp"
#include "scene/description/scene_json.hpp"
#include "scene/rendering/field_stream.hpp"
#include "scene/rendering/scene_stream.hpp"
#include "text_file.hpp"

namespace earshot_tool {

namespace {

// A scene's sounds, over and over or once.
binaural_input &open_sound(const scene_source &source, const std::string &path, rendering &work) {
    work.inputs.push_back(std::make_unique<binaural_input>(path));
    binaural_input &input = *work.inputs.back();
    if (source.loop && !input.file().is_seekable())
        throw processing_error(input.file().name(), "cannot be read again, as a loop needs");
    if (source.loop && input.file().frames() == 0)
        throw processing_error(input.file().name(), "has no frames to loop");
    if (source.loop) input.repeat();
    return input;
}

// The sources from k on that read one input, as the engine takes them: those of a bed, or one.
void open_together(const scene_file &scene, rendering &work, std::vector<frame_source *> &sounds) {
    const std::vector<scene_source> &sources = scene.content.sources;
    const std::size_t k = sounds.size();
    binaural_input &input = open_sound(sources[k], scene.sounds[k], work);
    if (!sources[k].bed) {
        input.pick(chosen_channel(input.file(), sources[k].channel, scene.channel_hint));
        sounds.push_back(&input.source());
        return;
    }
    const bed_channels channels =
        channels_of_bed(input.file(), scene.content.beds[*sources[k].bed]);
    if (!channels.note.empty()) work.notes.push_back(channels.note);
    for (std::size_t i = k; i < sources.size() && sources[i].bed == sources[k].bed; ++i) {
        const auto speaker = static_cast<std::size_t>(sources[i].channel - 1);
        sounds.push_back(&input.channel(channels.numbers[speaker]));
    }
}

} // namespace

// A file called "-" is a file here: a scene is complete without standard input.
std::string path_in(const std::string &folder, const std::string &name) {
    const std::string path = (std::filesystem::path(folder) / name).string();
    return path == "-" ? "./-" : path;
}

scene_file read_scene(const std::string &path) {
    scene_file file{text_file_name(path), "with \"channel\", or take all with \"layout\"", {}, {}};
    const std::string folder =
        path == "-" ? "" : std::filesystem::path(path).parent_path().string();
    std::size_t left = most_table_bytes;
    const auto load = [&folder, &left](const std::string &name) {
        std::string table = read_text(path_in(folder, name), left,
                                      "brings the tables of the scene to more than 256 MiB; give "
                                      "them fewer rows");
        left -= table.size();
        return table;
    };
    if (is_sound_file(path))
        throw processing_error(file.name, "is a sound, not a scene; 'earshot render " + path +
                                              "' renders it as it is");
    const std::string text =
        read_text(path, most_scene_bytes, "is larger than 16 MiB; long tracks belong into tables");
    try {
        file.content = parse_scene(text, load);
    } catch (const std::runtime_error &error) { // the scene's, or of a table that cannot be read
        throw processing_error(file.name, error.what());
    }
    for (const scene_source &source : file.content.sources)
        file.sounds.push_back(path_in(folder, source.file));
    return file;
}

std::vector<frame_source *> open_sounds(const scene_file &scene, rendering &work) {
    const std::vector<scene_source> &sources = scene.content.sources;
    std::vector<frame_source *> sounds;
    while (sounds.size() < sources.size()) {
        const std::size_t entry = sources[sounds.size()].entry;
        try {
            open_together(scene, work, sounds);
        } catch (const processing_error &error) {
            if (scene.name.empty()) throw;
            throw processing_error(scene.name,
                                   "sources[" + std::to_string(entry) + "].file: " + error.what());
        }
    }
    return sounds;
}

std::unique_ptr<rendering> open_scene(const scene_file &scene, const engine_choice &engine,
                                      const guard_choice &guard, std::size_t frame_length,
                                      const source_mover &move) {
    auto work = std::make_unique<rendering>();
    const std::vector<frame_source *> sounds = open_sounds(scene, *work);
    work->safe_guard = guard.safe;
    work->engine = engine.for_directions(sounds.size(), frame_length, guard);
    work->stream = std::make_unique<scene_stream>(scene.content, sounds, *work->engine, move);
    return work;
}

std::unique_ptr<rendering> open_field(const scene_file &scene, int order,
                                      const source_mover &move) {
    auto work = std::make_unique<rendering>();
    const std::vector<frame_source *> sounds = open_sounds(scene, *work);
    work->stream = std::make_unique<field_stream>(scene.content, sounds, order, move);
    return work;
}

} // namespace earshot_tool
