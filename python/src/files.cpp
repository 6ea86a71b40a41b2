#include "files.h"

#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "commands/scene_file.hpp"
#include "heads/listening_head.hpp"
#include "safely.hpp"
#include "scene/interface/scene_interface.hpp"

using namespace earshot_tool;
using earshot_python::safely;

namespace {

std::string lines_of(const std::vector<std::string> &notes) {
    std::string text;
    for (const std::string &note : notes) text += note + "\n";
    return text;
}

// What opening sounds needs of a scene: all but the ways of the sources, which may be long.
scene_file files_of(const scene &content, const std::string &name, const std::string &folder,
                    const unsigned char *given) {
    scene_file file{name, "with \"channel\", or take all with \"layout\"", {}, {}};
    file.content.beds = content.beds;
    for (std::size_t k = 0; k < content.sources.size(); ++k) {
        const scene_source &source = content.sources[k];
        if (given[k] != 0) continue;
        scene_source &copy = file.content.sources.emplace_back();
        copy.file = source.file;
        copy.channel = source.channel;
        copy.bed = source.bed;
        copy.entry = source.entry;
        copy.loop = source.loop;
        file.sounds.push_back(path_in(folder, source.file));
    }
    return file;
}

} // namespace

// A failure of any of the sounds is the failure of all.
struct earshot_sounds {
    struct opened {
        earshot_sounds *all;
        frame_source *sound;
    };

    scene_file file;
    rendering work;
    std::vector<opened> sources;
    std::string notes;
    std::string fault;

    // Nothing thrown leaves a callback.
    template <class Work> s64 use(Work read) noexcept {
        try {
            return read();
        } catch (const std::exception &why) {
            try {
                fault = why.what();
            } catch (...) { // no memory for a line
            }
            return -1;
        }
    }

    static s64 read(void *user, s32 *samples, s64 count) {
        const auto &source = *static_cast<opened *>(user);
        return source.all->use([&] {
            return static_cast<s64>(source.sound->read(samples, static_cast<std::size_t>(count)));
        });
    }

    static s64 skip(void *user, s64 count) {
        const auto &source = *static_cast<opened *>(user);
        return source.all->use([&] { return source.sound->skip(count); });
    }
};

u32 earshot_sounds_open(const earshot_scene *scene, const char *name, const char *folder,
                        const unsigned char *given, earshot_scene_input *inputs,
                        earshot_sounds **sounds, earshot_scene_error *error) {
    *sounds = nullptr;
    return safely(error, [&] {
        auto made = std::make_unique<earshot_sounds>();
        made->file = files_of(*scene->content, name, folder, given);
        for (frame_source *sound : open_sounds(made->file, made->work))
            made->sources.push_back({made.get(), sound});
        made->notes = lines_of(made->work.notes);
        auto next = made->sources.begin();
        for (std::size_t k = 0; k < scene->content->sources.size(); ++k) {
            if (given[k] != 0) continue;
            const s64 frames = next->sound->endless()
                                   ? EARSHOT_SCENE_ENDLESS
                                   : next->sound->frames().value_or(EARSHOT_SCENE_UNKNOWN);
            inputs[k] = {&*next++, earshot_sounds::read, earshot_sounds::skip, nullptr, frames};
        }
        *sounds = made.release();
        return EARSHOT_OK;
    });
}

void earshot_sounds_close(earshot_sounds *sounds) { delete sounds; }

const char *earshot_sounds_fault(const earshot_sounds *sounds) { return sounds->fault.c_str(); }

const char *earshot_sounds_notes(const earshot_sounds *sounds) { return sounds->notes.c_str(); }

u64 earshot_sounds_clipped(const earshot_sounds *sounds) {
    u64 sum = 0;
    for (const auto &input : sounds->work.inputs)
        sum += input->clipped_on_reading() + input->clipped_by_conversion();
    return sum;
}

struct earshot_made_head {
    std::vector<u32> words;
    std::string notes;
};

u32 earshot_head_prepare(const char *name, const void *sofa, size_t size, earshot_made_head **made,
                         earshot_scene_error *error) {
    *made = nullptr;
    return safely(error, [&] {
        // The library that reads the format keeps its state in one place for all threads.
        static std::mutex alone;
        const std::lock_guard lock(alone);
        preparation::prepared_head head =
            prepare_sofa(name, std::string(static_cast<const char *>(sofa), size), {});
        *made = new earshot_made_head{std::move(head.words), lines_of(head.notes)};
        return EARSHOT_OK;
    });
}

const void *earshot_made_head_bytes(const earshot_made_head *made, size_t *size) {
    *size = made->words.size() * sizeof(u32);
    return made->words.data();
}

const char *earshot_made_head_notes(const earshot_made_head *made) { return made->notes.c_str(); }

void earshot_made_head_free(earshot_made_head *made) { delete made; }
