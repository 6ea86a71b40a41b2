#include "commands/batch_line.hpp"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <mutex>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/App.hpp>
#include <earshot/earshot.h>

#include "audio/loudness.hpp"
#include "commands/template.hpp"
#include "error.hpp"
#include "input_files.hpp"
#include "misspelling.hpp"
#include "scene/description/json_place.hpp"
#include "scene/description/scene_json.hpp"
#include "text_file.hpp"

namespace earshot_tool {

namespace {

namespace fs = std::filesystem;

constexpr const char *line_keys[] = {"output", "scene", "template", "values"};

// "--no-dither" is "no_dither" in a line.
std::string key_of(std::string option) {
    std::replace(option.begin(), option.end(), '-', '_');
    return option;
}

std::string option_of(std::string key) {
    std::replace(key.begin(), key.end(), '_', '-');
    return key;
}

std::vector<std::string> known_keys() {
    std::vector<std::string> keys(std::begin(line_keys), std::end(line_keys));
    for (const std::string &option : line_option_names()) keys.push_back(key_of(option));
    return keys;
}

// All of it is in one line, whose number stands in the record.
json parse_line(const std::string &text) {
    json line;
    try {
        line = parse_json(text);
    } catch (const scene_error &error) {
        const std::string message = error.what(), place = "line 1, ";
        throw scene_error(message.starts_with(place) ? message.substr(place.size()) : message);
    }
    json_place(line).require_object();
    return line;
}

std::string text_of_option(const json_place &line, const std::string &key, const json &value) {
    if (value.is_boolean()) return value.get<bool>() ? "true" : "false";
    if (value.is_number()) return number_text(value.get<double>());
    const std::string &text = line.at(key.c_str()).text();
    if (text.empty() || text.find('\0') != std::string::npos)
        line.at(key.c_str()).fail(text.empty() ? "is empty" : "has a NUL character in it");
    return text;
}

// Those for all lines, and over them the line's own.
option_texts options_of(const json &line, const batch_setting &setting) {
    option_texts options = setting.options;
    const std::vector<std::string> known = known_keys();
    for (const auto &[key, value] : line.items()) {
        if (std::find(known.begin(), known.end(), key) == known.end()) {
            const std::string closest = closest_name(key, known);
            throw scene_error(shortened(key) + ": unknown key" +
                              (closest.empty() ? "" : "; there is " + in_quotes(closest)));
        }
        if (std::find(std::begin(line_keys), std::end(line_keys), key) != std::end(line_keys))
            continue;
        if (value.is_null()) {
            options.erase(option_of(key));
            continue;
        }
        std::string text = text_of_option(json_place(line), key, value);
        options[option_of(key)] = key == "head" ? path_in(setting.folder, text) : std::move(text);
    }
    return options;
}

scene_options parse_options(const option_texts &texts) {
    scene_options options;
    CLI::App app;
    add_line_options(app, options);
    std::vector<std::string> words;
    for (const auto &[name, text] : texts)
        words.push_back(std::string("--").append(name).append("=").append(text));
    try {
        app.parse(words);
    } catch (const CLI::ParseError &error) {
        throw usage_error(error.what());
    }
    return options;
}

// A scene as text, and where names in it start from.
struct scene_text {
    std::string name; // for messages
    std::string folder;
    std::string text;
};

std::string path_of(const json_place &place, const batch_setting &setting) {
    const std::string &name = place.text();
    if (name.empty()) place.fail("is empty");
    if (name.find('\0') != std::string::npos) place.fail("has a NUL character in it");
    return path_in(setting.folder, name);
}

scene_text filled_scene(const json &line, const batch_setting &setting) {
    const json_place values = json_place(line).at("values");
    values.require_object();
    const json &form = line.at("template");
    scene_text scene{"template", setting.folder, ""};
    try {
        if (form.is_object()) {
            scene.text = filled_template(form, line.at("values")).dump();
            return scene;
        }
        scene.name = path_of(json_place(line).at("template"), setting);
        scene.folder = folder_of(scene.name);
        scene.text =
            filled_template(parse_json(read_scene_text(scene.name)), line.at("values")).dump();
    } catch (const scene_error &error) {
        throw processing_error(scene.name, error.what());
    }
    return scene;
}

scene_text scene_of_line(const json &line, const batch_setting &setting) {
    const json_place place(line);
    const auto key = place.only_one_of({"scene", "template"});
    if (!key) place.fail("'scene' or 'template' is missing");
    if (key == "template") return filled_scene(line, setting);
    if (line.contains("values")) place.at("values").fail("belongs to a 'template'");
    const json &scene = line.at("scene");
    if (scene.is_object()) return {"scene", setting.folder, scene.dump()};
    const std::string path = path_of(place.at("scene"), setting);
    return {path, folder_of(path), read_scene_text(path)};
}

// Pieces of a job: where one ends and the next begins is part of the digest.
class job_digest {
  public:
    void add(const std::string &what, const std::string &text) {
        const std::string heading = what + " " + std::to_string(text.size()) + "\n";
        digest_.add(heading.data(), heading.size());
        digest_.add(text.data(), text.size());
    }
    std::string text() { return digest_.text(); }

  private:
    byte_digest digest_;
};

// What could be read by one line and written by another at the same time is not taken: it would
// depend on chance what is heard, and a recording could be lost.
void require_outside(const std::string &path, const batch_setting &setting) {
    std::error_code none;
    const fs::path directory = fs::weakly_canonical(setting.directory, none);
    const fs::path inside = fs::weakly_canonical(path, none).lexically_relative(directory);
    if (!inside.empty() && *inside.begin() != "..")
        throw processing_error(path, "is in the folder that the batch writes to; move it, or name "
                                     "another folder with -o");
}

void add_sounds(job_digest &digest, const scene_file &scene, const batch_setting &setting,
                batch_cache &cache) {
    for (std::size_t k = 0; k < scene.sounds.size(); ++k) try {
            require_outside(scene.sounds[k], setting);
            digest.add("sound", cache.digest(scene.sounds[k]));
        } catch (const processing_error &error) {
            throw processing_error(scene.name, "sources[" +
                                                   std::to_string(scene.content.sources[k].entry) +
                                                   "].file: " + error.what());
        }
}

// All that a line asks for.
struct line_request {
    scene_file scene;
    scene_options options;
    std::string job;
};

line_request read_request(const batch_setting &setting, const batch_job &job, batch_cache &cache) {
    line_request request;
    job_digest digest;
    const json line = parse_line(job.text);
    option_texts options = options_of(line, setting);
    request.options = parse_options(options);
    options.erase("head"); // what it holds counts, not where it is
    digest.add("version", earshot_version());
    digest.add("output", job.output);
    for (const auto &[name, text] : options) digest.add(name, text);
    const scene_text scene = scene_of_line(line, setting);
    digest.add("scene", scene.text);
    request.scene =
        scene_of_text(scene.name, scene.text, scene.folder,
                      [&digest](const std::string &table) { digest.add("table", table); });
    add_sounds(digest, request.scene, setting, cache);
    const std::string &head = request.options.head;
    if (!head.empty()) digest.add("head", cache.digest(head));
    request.job = digest.text();
    return request;
}

// Hears what is written.
class output_measurement {
  public:
    explicit output_measurement(const output_format &format, bool has_loudness)
        : channels_(static_cast<std::size_t>(format.channels)) {
        if (has_loudness)
            loudness_.emplace(loudspeakers{loudspeaker::front_left, loudspeaker::front_right},
                              format.rate, 0x1p-31, loudness_measures::integrated);
    }

    void add(const s32 *interleaved, std::size_t frames) {
        const std::size_t count = frames * channels_;
        digest_.add(interleaved, count);
        peak_ = std::max(peak_, extremes_of(interleaved, count).peak());
        if (loudness_) loudness_->add(interleaved, frames);
        frames_ += static_cast<s64>(frames);
    }

    void tell(batch_record &record) {
        record.digest = digest_.text();
        record.frames = frames_;
        if (peak_ != 0) record.peak = 20 * std::log10(static_cast<double>(peak_) * 0x1p-31);
        if (loudness_) record.loudness = loudness_->integrated();
    }

  private:
    std::size_t channels_;
    sample_digest digest_;
    s64 peak_ = 0;
    s64 frames_ = 0;
    std::optional<loudness_meter> loudness_;
};

bool holds(const std::string &path, const batch_record &record) {
    try {
        if (!fs::is_regular_file(path)) return false;
        audio_input file(path);
        if (file.channels() != record.channels || file.rate() != record.rate) return false;
        std::vector<s32> block(block_frames * static_cast<std::size_t>(file.channels()));
        sample_digest digest;
        while (const std::size_t frames = file.read(block.data(), block_frames))
            digest.add(block.data(), frames * static_cast<std::size_t>(file.channels()));
        return file.position() == record.frames &&
               (is_lossy(choose_container(path, false)) || digest.text() == record.digest);
    } catch (const std::runtime_error &) {
        return false;
    }
}

void render(line_request &request, const std::string &path, batch_record &record,
            batch_cache &cache) {
    scene_options &options = request.options;
    options.output.path = path;
    options.talk.quiet = true;
    check_destination(options);
    rendering_plan plan = plan_for(options);
    make_directory(fs::path(path).parent_path().string());
    output_measurement heard(plan.format, options.field_order == 0);
    plan.written = [&heard](const s32 *frames, std::size_t count) { heard.add(frames, count); };
    record.channels = plan.format.channels;
    record.rate = plan.format.rate;
    record.clipped = render_scene(
        plan, request.scene, options, {},
        [&cache](const std::string &head, const console &out) { return cache.head(head, out); });
    heard.tell(record);
}

// Where a path in a message begins so, it goes on as if it had been written in the manifest.
std::string with_names(std::string text, const std::string &way, const std::string &name) {
    for (std::size_t at = 0; !way.empty() && (at = text.find(way, at)) != std::string::npos;) {
        const bool begins = at == 0 || text[at - 1] == ' ' || text[at - 1] == '\'';
        if (begins) text.replace(at, way.size(), name);
        at += begins ? name.size() : way.size();
    }
    return text;
}

// A message is the same whatever the way to the folders is on a machine.
std::string error_text(const char *error, const batch_setting &setting, const batch_job &job) {
    const fs::path path = fs::path(setting.directory) / job.output;
    std::string text = with_names(error, path.string(), job.output);
    if (const fs::path folder = fs::path(job.output).parent_path(); !folder.empty())
        text = with_names(text, path.parent_path().string(), folder.string());
    if (!setting.folder.empty())
        text = with_names(text, (fs::path(setting.folder) / "").string(), "");
    return message_line(text);
}

finished_line do_line(const batch_setting &setting, const batch_job &job,
                      const std::vector<batch_record> &before, batch_cache &cache) {
    forget_inputs();
    line_request request = read_request(setting, job, cache);
    const std::string path = (fs::path(setting.directory) / job.output).string();
    for (const batch_record &old : before) {
        if (old.failed() || old.job != request.job || !holds(path, old)) continue;
        batch_record record = old;
        record.line = job.line;
        return {record, false};
    }
    forget_inputs(); // what was at the output's place has been read, and is replaced
    batch_record record;
    record.line = job.line;
    record.output = job.output;
    record.job = request.job;
    render(request, path, record, cache);
    return {record, true};
}

} // namespace

void add_line_options(CLI::App &command, scene_options &options) {
    add_field_options(command, options);
    add_placement(command, options);
    add_sample_options(command, options.output);
    add_level_options(command, options);
}

const std::vector<std::string> &line_option_names() {
    static const std::vector<std::string> names = [] {
        CLI::App app;
        app.set_help_flag();
        scene_options options;
        add_line_options(app, options);
        std::vector<std::string> found;
        for (const CLI::Option *option : app.get_options())
            found.push_back(option->get_lnames().at(0));
        return found;
    }();
    return names;
}

void check_options(const option_texts &options) {
    const scene_options parsed = parse_options(options);
    check_level_goal(parsed.goal, parsed.gain.has_value());
}

batch_record failed_record(const batch_job &job, const std::string &why) {
    batch_record record;
    record.line = job.line;
    record.output = job.output;
    record.error = why;
    return record;
}

std::string output_of_line(const std::string &text) {
    const json line = parse_line(text);
    const json_place place = json_place(line).at("output");
    const std::string &name = place.text();
    const fs::path path = fs::path(name).lexically_normal();
    if (name.empty() || name.find('\0') != std::string::npos || !path.has_filename())
        place.fail(in_quotes(name) + " is no name of a file");
    if (path.is_absolute() || *path.begin() == ".." || path == ".")
        place.fail(in_quotes(name) + " is not inside the folder of the outputs; name a file in it");
    return path.string();
}

finished_line render_line(const batch_setting &setting, const batch_job &job,
                          const std::vector<batch_record> &before, batch_cache &cache) noexcept {
    static std::mutex one_at_a_time;
    const std::lock_guard lock(one_at_a_time);
    if (!job.fault.empty()) return {failed_record(job, job.fault), false};
    try {
        return do_line(setting, job, before, cache);
    } catch (const std::exception &error) {
        return {failed_record(job, error_text(error.what(), setting, job)), false};
    }
}

} // namespace earshot_tool
