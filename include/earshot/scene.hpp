/*
 * The C++ side of scene.h: scenes and their streams as handles, sounds as spans or callables.
 *
 * Programs that include it link libearshot-scene.so (earshot::scene in CMake). As in earshot.hpp,
 * whose errors and spans it uses, calls throw or, as `try_...`, return a status. What scene.h says
 * of an error in words is what() of the exception, and the `reason` of a try. What a callable of
 * the program throws comes out of the call that throws, and is an input_failed in a try. Beside the
 * library, handles allocate too, when they are made.
 *
 * Use (examples/cpp_scene.cpp is a whole program):
 *
 *     const earshot::scene scene(text);
 *     std::vector<earshot::scene_sound> sounds;
 *     for (u32 k = 0; k < scene.sources(); ++k)
 *         sounds.push_back(earshot::scene_sound::of(samples_of(scene.source(k).file)));
 *     earshot::scene_stream stream(scene, std::move(sounds));
 *     while (const std::size_t frames = stream.read(ears))
 *         ...
 */
#ifndef EARSHOT_SCENE_HPP
#define EARSHOT_SCENE_HPP

#include <earshot/earshot.hpp>
#include <earshot/scene.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#if EARSHOT_EXCEPTIONS
#include <exception>
#endif

namespace earshot {
inline namespace EARSHOT_CPP_KIND {

static_assert(static_cast<u32>(status::input_failed) == EARSHOT_INPUT_FAILED &&
              static_cast<u32>(status::out_of_memory) == EARSHOT_OUT_OF_MEMORY);

namespace detail {

struct scene_release {
    void operator()(earshot_scene *scene) const noexcept { earshot_scene_free(scene); }
    void operator()(earshot_scene_stream *stream) const noexcept { earshot_scene_close(stream); }
};

/* What a callable threw: it waits until the C functions that called it are back. */
class thrown {
  public:
    /* The callable's result, or `otherwise` if it threw. */
    template <typename Result, typename Call> Result catch_of(Result otherwise, Call call) {
#if EARSHOT_EXCEPTIONS
        try {
            return call();
        } catch (...) {
            exception_ = std::current_exception();
            return otherwise;
        }
#else
        (void)otherwise;
        return call();
#endif
    }

#if EARSHOT_EXCEPTIONS
    void rethrow() {
        if (exception_) std::rethrow_exception(std::exchange(exception_, nullptr));
    }

  private:
    std::exception_ptr exception_;
#endif
};

} // namespace detail

/* --- Scenes ------------------------------------------------------------------------------------*/

/* The text of the table of a name; nothing where it cannot be read. */
using table_loader = std::function<std::optional<std::string>(std::string_view)>;

/* Constant once it is made: any number of threads may use one at a time. */
class scene {
  public:
    /* As earshot_scene_parse; without a loader, scenes that name tables are refused. */
    static result<scene> try_make(std::string_view text, const table_loader &load = nullptr,
                                  std::string *reason = nullptr) {
        parsing run{load, {}, {}, {}};
        scene made;
        const status code = made.parse(text, run);
        if (reason != nullptr) *reason = run.error.text;
        if (code != status::ok) return {code, "earshot_scene_parse"};
        return made;
    }

    [[nodiscard]] u32 sources() const noexcept { return earshot_scene_sources(scene_.get()); }
    /* In samples; nothing where a scene lasts as long as its sounds. */
    [[nodiscard]] std::optional<s64> duration() const noexcept {
        const s64 length = earshot_scene_duration(scene_.get());
        return length < 0 ? std::nullopt : std::optional<s64>(length);
    }
    /* As earshot_scene_source. */
    result<earshot_scene_source_info> try_source(u32 source) const noexcept {
        earshot_scene_source_info info = {};
        const status code = status{earshot_scene_source(scene_.get(), source, &info)};
        if (code != status::ok) return {code, "earshot_scene_source"};
        return info;
    }
    /* As earshot_scene_heard. */
    result<earshot_scene_direction> try_heard(u32 source, s64 time) const noexcept {
        earshot_scene_direction heard = {};
        const status code = status{earshot_scene_heard(scene_.get(), source, time, &heard)};
        if (code != status::ok) return {code, "earshot_scene_heard"};
        return heard;
    }

    [[nodiscard]] const earshot_scene *get() const noexcept { return scene_.get(); }

#if EARSHOT_EXCEPTIONS
    explicit scene(std::string_view text, const table_loader &load = nullptr) {
        parsing run{load, {}, {}, {}};
        const status code = parse(text, run);
        if (code == status::ok) return;
        run.thrown.rethrow();
        throw error(code, "earshot_scene_parse", run.error.text);
    }
    [[nodiscard]] earshot_scene_source_info source(u32 source) const {
        return try_source(source).value();
    }
    [[nodiscard]] earshot_scene_direction heard(u32 source, s64 time) const {
        return try_heard(source, time).value();
    }
#endif

  private:
    struct parsing {
        const table_loader &load;
        std::optional<std::string> table; /* the one that was asked for last */
        detail::thrown thrown;
        earshot_scene_error error;
    };

    scene() noexcept = default;

    status parse(std::string_view text, parsing &run) {
        const earshot_scene_tables tables = {
            &run, [](void *user, const char *name, std::size_t *size, const char **) {
                return load(*static_cast<parsing *>(user), name, *size);
            }};
        earshot_scene *made = nullptr;
        const status code = status{earshot_scene_parse(
            text.data(), text.size(), run.load ? &tables : nullptr, &made, &run.error)};
        scene_.reset(made);
        return code;
    }
    static const char *load(parsing &run, const char *name, std::size_t &size) {
        return run.thrown.catch_of<const char *>(nullptr, [&]() -> const char * {
            run.table = run.load(name);
            if (!run.table) return nullptr;
            size = run.table->size();
            return run.table->data();
        });
    }

    std::unique_ptr<earshot_scene, detail::scene_release> scene_;
};

/* --- Streams -----------------------------------------------------------------------------------*/

/* The sound of a source, as earshot_scene_input tells. */
class scene_sound {
  public:
    /* Samples in memory, which have to stay for as long as a stream plays them. One channel of
     * several: the samples from its first on, and how many channels there are as stride. */
    static scene_sound of(span<const s32> samples, std::size_t stride = 1) {
        scene_sound made;
        const std::size_t frames = stride == 0 ? 0 : (samples.size() + stride - 1) / stride;
        made.samples_ = {samples.data(), static_cast<s64>(frames), static_cast<s64>(stride), 0};
        return made;
    }
    /* What read(span<s32>) makes: it returns how many samples of the span it has written, fewer
     * only at the end, negative for a failure. rewind() goes back to the beginning; false: it
     * cannot. */
    static scene_sound from(std::function<s64(span<s32>)> read,
                            std::function<bool()> rewind = nullptr,
                            s64 frames = EARSHOT_SCENE_UNKNOWN) {
        scene_sound made;
        made.read_ = std::move(read);
        made.rewind_ = std::move(rewind);
        made.frames_ = frames;
        return made;
    }

    /* For the C functions; the sound has to stay where it is from then on. */
    status input(earshot_scene_input &input) {
        if (!read_) return status{earshot_scene_play(&samples_, &input)};
        input = {this, read_samples, nullptr, rewind_ ? go_back : nullptr, frames_};
        return status::ok;
    }
#if EARSHOT_EXCEPTIONS
    /* Throws what its callables have thrown. */
    void rethrow() { thrown_.rethrow(); }
#endif

  private:
    static s64 read_samples(void *user, s32 *samples, s64 count) {
        auto *const sound = static_cast<scene_sound *>(user);
        return sound->thrown_.catch_of<s64>(
            -1, [&] { return sound->read_(span<s32>(samples, static_cast<std::size_t>(count))); });
    }
    static s32 go_back(void *user) {
        auto *const sound = static_cast<scene_sound *>(user);
        return sound->thrown_.catch_of<s32>(1, [&] { return sound->rewind_() ? 0 : 1; });
    }

    earshot_scene_samples samples_ = {};
    std::function<s64(span<s32>)> read_;
    std::function<bool()> rewind_;
    s64 frames_ = EARSHOT_SCENE_UNKNOWN;
    detail::thrown thrown_;
};

/* As earshot_scene_defaults. */
inline earshot_scene_options scene_defaults() noexcept {
    earshot_scene_options options;
    earshot_scene_defaults(&options);
    return options;
}

class scene_stream {
  public:
    /* As earshot_scene_open; a sound for each source. The scene need not stay. */
    static result<scene_stream> try_make(const scene &from, std::vector<scene_sound> sounds,
                                         const earshot_scene_options &options = scene_defaults(),
                                         std::string *reason = nullptr) {
        earshot_scene_error fault = {};
        scene_stream made(std::move(sounds));
        const status code = made.open(from, options, fault);
        if (reason != nullptr) *reason = fault.text;
        if (code != status::ok) return {code, "earshot_scene_open"};
        return made;
    }

    scene_stream(scene_stream &&other) noexcept = default;
    scene_stream &operator=(scene_stream &&other) noexcept {
        stream_ = std::move(other.stream_); /* before its sounds */
        sounds_ = std::move(other.sounds_);
        channels_ = other.channels_;
        return *this;
    }

    [[nodiscard]] u32 channels() const noexcept { return channels_; }
    /* As earshot_scene_stream_describe. */
    [[nodiscard]] earshot_scene_stream_info describe() const noexcept {
        earshot_scene_stream_info info = {};
        (void)earshot_scene_stream_describe(stream_.get(), &info);
        return info;
    }

    /* As earshot_scene_read: as many frames as the samples, interleaved, have room for, at least
     * one. */
    status try_read(span<s32> samples, std::size_t &frames) noexcept {
        if (!stream_) return status::bad_memory;
        assert(samples.size() >= channels_);
        s64 done = 0;
        const status code = status{earshot_scene_read(
            stream_.get(), samples.data(), static_cast<s64>(samples.size() / channels_), &done)};
        frames = static_cast<std::size_t>(done);
        return code;
    }
    /* As earshot_scene_skip. */
    status try_skip(s64 frames, s64 &done) noexcept {
        return status{earshot_scene_skip(stream_.get(), frames, &done)};
    }

    [[nodiscard]] earshot_scene_stream *get() const noexcept { return stream_.get(); }

#if EARSHOT_EXCEPTIONS
    explicit scene_stream(const scene &from, std::vector<scene_sound> sounds,
                          const earshot_scene_options &options = scene_defaults())
        : scene_stream(std::move(sounds)) {
        earshot_scene_error fault = {};
        const status code = open(from, options, fault);
        if (code != status::ok) throw error(code, "earshot_scene_open", fault.text);
    }
    /* Returns how many frames there were, 0 at the end alone. */
    std::size_t read(span<s32> samples) {
        std::size_t frames = 0;
        check(try_read(samples, frames), "earshot_scene_read");
        return frames;
    }
    s64 skip(s64 frames) {
        s64 done = 0;
        check(try_skip(frames, done), "earshot_scene_skip");
        return done;
    }
#endif

  private:
    explicit scene_stream(std::vector<scene_sound> sounds) noexcept : sounds_(std::move(sounds)) {}

    status open(const scene &from, const earshot_scene_options &options,
                earshot_scene_error &fault) {
        std::vector<earshot_scene_input> inputs(sounds_.size() + 1); /* null is no wrong count */
        for (std::size_t k = 0; k < sounds_.size(); ++k) {
            const status code = sounds_[k].input(inputs[k]);
            if (code != status::ok) return code;
        }
        earshot_scene_stream *made = nullptr;
        const status code = status{earshot_scene_open(
            from.get(), &options, inputs.data(), static_cast<u32>(sounds_.size()), &made, &fault)};
        stream_.reset(made);
        if (code == status::ok) channels_ = describe().channels;
        return code;
    }
#if EARSHOT_EXCEPTIONS
    void check(status code, const char *call) {
        if (code == status::ok) return;
        for (scene_sound &sound : sounds_) sound.rethrow();
        detail::fail(code, call);
    }
#endif

    std::vector<scene_sound> sounds_; /* which the stream refers to */
    std::unique_ptr<earshot_scene_stream, detail::scene_release> stream_;
    u32 channels_ = 0;
};

} // namespace EARSHOT_CPP_KIND
} // namespace earshot

#endif
