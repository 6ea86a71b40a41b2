/*
 * The C++ side of earshot: owning handles over the records of the C headers, spans in and out.
 *
 * It is a header alone, of C++17 and up, over the same shared library. What a call computes is told
 * by the C header that it names; here stands what is different. A handle makes what it needs in one
 * allocation when it is made, and none later. It can be moved and not copied; of one that has been
 * moved from, calls with a status refuse to do anything, and others are not to be made. A
 * processing call is inline, and costs no instruction more than the call of the C function.
 *
 * What has neither state nor memory of its own is not wrapped: math.h, kernel.h, and the geometry
 * and roll-off of spatial.h are as good in C++ as they are in C. Scenes are in scene.hpp.
 *
 * Errors. What can fail comes twice: `process` throws an earshot::error, `try_process` returns an
 * earshot::status. Constructors throw, and every class has a `try_make` with the same arguments
 * that returns an earshot::result instead. Without exceptions (-fno-exceptions) there is the second
 * kind alone.
 *
 * Spans. earshot::span is std::span where the language has it, and a small one of the same use in
 * C++17. Lengths follow from spans wherever there is a choice. A processing call, which has no
 * instruction to spare, looks at those of its spans with assert() only, other calls refuse wrong
 * ones.
 *
 * Use (examples/cpp_head.cpp is a whole program):
 *
 *     earshot::effect effect;
 *     effect.rotate(earshot::degrees(30), earshot::degrees(0));
 *     effect.process({w, y, z, x}, {out_w, out_y, out_z, out_x});
 */
#ifndef EARSHOT_EARSHOT_HPP
#define EARSHOT_EARSHOT_HPP

#include <earshot/earshot.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <type_traits>
#include <utility>

#ifdef __has_include
#if __has_include(<version>)
#include <version>
#endif
#endif

#ifdef __cpp_lib_span
#include <span>
#endif

/* Whether there are exceptions; a program may say 0 itself. */
#ifndef EARSHOT_EXCEPTIONS
#ifdef __cpp_exceptions
#define EARSHOT_EXCEPTIONS 1
#else
#define EARSHOT_EXCEPTIONS 0
#endif
#endif

#if EARSHOT_EXCEPTIONS
#include <stdexcept>
#include <string>
#endif

/* What a handle's inside depends on. */
#if defined(__cpp_lib_span) && EARSHOT_EXCEPTIONS
#define EARSHOT_CPP_KIND cpp20
#elif defined(__cpp_lib_span)
#define EARSHOT_CPP_KIND cpp20_codes
#elif EARSHOT_EXCEPTIONS
#define EARSHOT_CPP_KIND cpp17
#else
#define EARSHOT_CPP_KIND cpp17_codes
#endif

#ifdef __GNUC__
#define EARSHOT_COLD __attribute__((cold, noinline))
#else
#define EARSHOT_COLD
#endif

namespace earshot {

/* In the names that linkers see: a program may have files of each kind. */
inline namespace EARSHOT_CPP_KIND {

/* --- Spans -------------------------------------------------------------------------------------*/

#ifdef __cpp_lib_span
using std::as_bytes;
using std::span;
#else
/* As std::span of any length: of pointer and length, arrays, vectors, other spans. */
template <typename T> class span {
    template <typename U> using if_like = std::enable_if_t<std::is_convertible_v<U (*)[], T (*)[]>>;

  public:
    using element_type = T;
    using value_type = std::remove_cv_t<T>;
    using iterator = T *;

    constexpr span() noexcept = default;
    constexpr span(T *data, std::size_t size) noexcept : data_(data), size_(size) {}
    template <typename U, std::size_t Size, typename = if_like<U>>
    constexpr span(U (&array)[Size]) noexcept : data_(array), size_(Size) {}
    template <
        typename Range,
        typename U = std::remove_pointer_t<decltype(std::data(std::declval<Range &>()))>,
        typename = decltype(std::size(std::declval<Range &>())),
        typename = std::enable_if_t<!std::is_array_v<std::remove_reference_t<Range>> &&
                                    (std::is_lvalue_reference_v<Range> || std::is_const_v<T>)>,
        typename = if_like<U>>
    constexpr span(Range &&range) noexcept : data_(std::data(range)), size_(std::size(range)) {}

    [[nodiscard]] constexpr T *data() const noexcept { return data_; }
    [[nodiscard]] constexpr std::size_t size() const noexcept { return size_; }
    [[nodiscard]] constexpr std::size_t size_bytes() const noexcept { return size_ * sizeof(T); }
    [[nodiscard]] constexpr bool empty() const noexcept { return size_ == 0; }
    [[nodiscard]] constexpr T *begin() const noexcept { return data_; }
    [[nodiscard]] constexpr T *end() const noexcept { return data_ + size_; }
    constexpr T &operator[](std::size_t i) const noexcept { return data_[i]; }
    [[nodiscard]] constexpr T &front() const noexcept { return data_[0]; }
    [[nodiscard]] constexpr T &back() const noexcept { return data_[size_ - 1]; }
    [[nodiscard]] constexpr span first(std::size_t count) const noexcept { return {data_, count}; }
    [[nodiscard]] constexpr span last(std::size_t count) const noexcept {
        return {data_ + (size_ - count), count};
    }
    [[nodiscard]] constexpr span
    subspan(std::size_t begin, std::size_t count = static_cast<std::size_t>(-1)) const noexcept {
        return {data_ + begin, count == static_cast<std::size_t>(-1) ? size_ - begin : count};
    }

  private:
    T *data_ = nullptr;
    std::size_t size_ = 0;
};
template <typename T, std::size_t Size> span(T (&)[Size]) -> span<T>;
template <typename Range>
span(Range &&) -> span<std::remove_pointer_t<decltype(std::data(std::declval<Range &>()))>>;

template <typename T> span<const std::byte> as_bytes(span<T> words) noexcept {
    return {reinterpret_cast<const std::byte *>(words.data()), words.size_bytes()};
}
#endif

/* --- Errors ------------------------------------------------------------------------------------*/

/* The status words of the C headers. */
enum class [[nodiscard]] status : u32{
    ok = EARSHOT_OK,
    no_config = EARSHOT_NO_CONFIG,
    bad_value = EARSHOT_BAD_VALUE,
    bad_memory = EARSHOT_BAD_MEMORY,
    bad_channel_count = EARSHOT_BAD_CHANNEL_COUNT,
    input_failed = 16,  /* of scenes */
    out_of_memory = 17, /* the system gives no more */
};

/* A status in words. */
inline const char *describe(status code) noexcept {
    switch (code) {
    case status::ok:
        return "done";
    case status::no_config:
        return "no configuration, or a sample rate other than 48000";
    case status::bad_value:
        return "invalid or unsupported value";
    case status::bad_memory:
        return "no instance, missing memory or too little of it";
    case status::bad_channel_count:
        return "wrong number of channels";
    case status::input_failed:
        return "a sound or a table could not be read";
    case status::out_of_memory:
        return "the system has no more memory";
    }
    return "unknown status";
}

#if EARSHOT_EXCEPTIONS
/* What is thrown. */
class error : public std::runtime_error {
  public:
    /* call: the C function that failed, a constant. */
    error(status code, const char *call) : error(code, call, "") {}
    /* reason: in words; where it is empty, those of the status. */
    error(status code, const char *call, const char *reason)
        : std::runtime_error(*reason != 0 ? reason : std::string(call) + ": " + describe(code)),
          code_(code), call_(call) {}

    [[nodiscard]] status code() const noexcept { return code_; }
    [[nodiscard]] const char *call() const noexcept { return call_; }

  private:
    status code_;
    const char *call_;
};
#endif

namespace detail {

#if EARSHOT_EXCEPTIONS
[[noreturn]] EARSHOT_COLD inline void fail(status code, const char *call) {
    throw error(code, call);
}

inline void check(status code, const char *call) {
    if (code != status::ok) fail(code, call);
}
#endif

} // namespace detail

/* A value, or the status that tells why there is none. */
template <typename T> class [[nodiscard]] result {
  public:
    result(T &&value) noexcept : value_(std::move(value)) {}
    result(status code, const char *call) noexcept : code_(code), call_(call) {}

    explicit operator bool() const noexcept { return value_.has_value(); }
    [[nodiscard]] status code() const noexcept { return code_; }
    [[nodiscard]] const char *call() const noexcept { return call_; } /* the one that failed */

    /* The value; there has to be one. */
    T &operator*() &noexcept { return *value_; }
    const T &operator*() const &noexcept { return *value_; }
    T &&operator*() &&noexcept { return *std::move(value_); }
    T *operator->() noexcept { return &*value_; }
    const T *operator->() const noexcept { return &*value_; }

#if EARSHOT_EXCEPTIONS
    /* The value; throws where there is none. */
    T value() && {
        if (!value_) detail::fail(code_, call_);
        return *std::move(value_);
    }
#endif

  private:
    std::optional<T> value_;
    status code_ = status::ok;
    const char *call_ = "";
};

/* --- Memory ------------------------------------------------------------------------------------*/

namespace detail {

/* Of a cache line, which is more than anything here needs. */
constexpr std::align_val_t alignment{64};

constexpr std::size_t rounded_up(std::size_t size) noexcept { return (size + 63) / 64 * 64; }

/* A record of the C interface and the memory that it lies in. The pointer comes first, so that a
 * call reaches it as it would in a C program's own record. */
template <typename T> class instance {
  public:
    instance() noexcept = default;
    /* Memory, null where there is none. */
    explicit instance(std::size_t size) noexcept
        : memory_(::operator new(size, alignment, std::nothrow)) {}
    instance(instance &&other) noexcept
        : handle(std::exchange(other.handle, nullptr)),
          memory_(std::exchange(other.memory_, nullptr)) {}
    instance &operator=(instance &&other) noexcept {
        instance taken(std::move(other));
        std::swap(handle, taken.handle);
        std::swap(memory_, taken.memory_);
        return *this;
    }
    ~instance() { ::operator delete(memory_, alignment); }

    [[nodiscard]] std::byte *memory() const noexcept { return static_cast<std::byte *>(memory_); }

    T *handle = nullptr;

  private:
    void *memory_ = nullptr;
};

} // namespace detail

/* --- Angles ------------------------------------------------------------------------------------*/

/*
 * An angle in degrees as the library takes it, in Q16: exact from a whole number, to the nearest
 * step from any other (halves away from 0). Beyond +-32767 degrees it is brought back by whole
 * turns to between 360 and 720 degrees of its sign: the same direction, and still out of any range.
 * What is no finite number counts as -32768 degrees.
 */
class degrees {
  public:
    constexpr degrees() noexcept = default;
    template <typename Number, typename = std::enable_if_t<std::is_arithmetic_v<Number>>>
    constexpr explicit degrees(Number value) noexcept : q16_(of(value)) {}
    static constexpr degrees from_q16(s32 value) noexcept {
        degrees made;
        made.q16_ = value;
        return made;
    }

    [[nodiscard]] constexpr s32 q16() const noexcept { return q16_; }
    [[nodiscard]] constexpr double value() const noexcept { return q16_ / 65536.0; }

    /* In 2^-32 turns, which wrap, to the nearest: the angles of field.h. */
    [[nodiscard]] constexpr u32 turns() const noexcept {
        /* 2^32 / (360 x 65536) = 8192 / 45; a turn more, so that the division rounds down. */
        const s64 numerator = (s64{q16_} + s64{360} * 65536 * 100) * 16384 + 45;
        return static_cast<u32>(static_cast<u64>(numerator / 90));
    }

    constexpr degrees operator-() const noexcept {
        return from_q16(q16_ == INT32_MIN ? INT32_MAX : -q16_);
    }
    friend constexpr bool operator==(degrees a, degrees b) noexcept { return a.q16_ == b.q16_; }
    friend constexpr bool operator!=(degrees a, degrees b) noexcept { return a.q16_ != b.q16_; }

  private:
    template <typename Number> static constexpr s32 of(Number value) noexcept {
        if constexpr (std::is_integral_v<Number>) {
            if (value > 0 && static_cast<u64>(value) > 32767)
                return static_cast<s32>(static_cast<u64>(value) % 360 + 360) * 65536;
            const s64 whole = static_cast<s64>(value);
            return static_cast<s32>(whole < -32767 ? whole % 360 - 360 : whole) * 65536;
        } else {
            if (!(value > -9e15 && value < 9e15)) return INT32_MIN;
            s64 whole = static_cast<s64>(value);
            /* Both exact: what is left of a whole number, and it times a power of two. */
            const Number steps = (value - static_cast<Number>(whole)) * 65536;
            if (whole > 32767) whole = whole % 360 + 360;
            if (whole < -32767) whole = whole % 360 - 360;
            s32 part = static_cast<s32>(steps);
            const Number rest = steps - static_cast<Number>(part);
            if (rest >= Number(0.5)) ++part;
            if (rest <= Number(-0.5)) --part;
            /* 32767.999999 and more would be 32768. */
            const s64 all = whole * 65536 + part;
            return static_cast<s32>(all > INT32_MAX ? INT32_MAX : all);
        }
    }

    s32 q16_ = 0;
};

/* --- The library -------------------------------------------------------------------------------*/

inline const char *version() noexcept { return earshot_version(); }
inline const char *instruction_set() noexcept { return earshot_instruction_set(); }

/* --- Ambisonic effect: hoa_effect.h ------------------------------------------------------------*/

/*
 * The four channels of a first-order field, W, Y, Z and X, of the same length, as the effect takes
 * them: pointers, and nothing is copied. One of writable samples passes for one of constant ones.
 */
template <typename Sample> class first_order;

template <typename Sample> class first_order<const Sample> {
  public:
    first_order(span<const Sample> w, span<const Sample> y, span<const Sample> z,
                span<const Sample> x) noexcept
        : /* The C record has no const; what goes in is not written. */
          channels_{const_cast<Sample *>(w.data()), const_cast<Sample *>(y.data()),
                    const_cast<Sample *>(z.data()), const_cast<Sample *>(x.data())},
          record_{static_cast<u32>(w.size()), 4, channels_} {
        assert(y.size() == w.size() && z.size() == w.size() && x.size() == w.size());
        assert(w.size() <= INT32_MAX);
    }
    /* The record points at its own channels. */
    first_order(const first_order &) = delete;
    first_order &operator=(const first_order &) = delete;

    [[nodiscard]] u32 frames() const noexcept { return record_.frames; }
    /* For the C functions; those store the number of frames once more in that of an output. */
    [[nodiscard]] hoa_effect_buffer *get() const noexcept { return &record_; }

  private:
    void *channels_[4];
    mutable hoa_effect_buffer record_;
};

template <typename Sample> class first_order : public first_order<const Sample> {
  public:
    first_order(span<Sample> w, span<Sample> y, span<Sample> z, span<Sample> x) noexcept
        : first_order<const Sample>(w, y, z, x) {}
};

/* A yaw, or an azimuth, and a pitch. */
struct direction {
    degrees yaw;
    degrees pitch;
};

/* An effect for samples of 32 bits (s32, Q31) or 16 bits (s16, Q15): rotation and focus. */
template <typename Sample> class basic_effect {
    static_assert(std::is_same_v<Sample, s32> || std::is_same_v<Sample, s16>);

  public:
    static result<basic_effect> try_make() noexcept {
        const hoa_effect_config config = {48000, 1, 0, 0, 8 * sizeof(Sample), 0};
        hoa_effect_requirement need;
        status code = status{hoa_effect_get_req(0, &need, sizeof need, 1, &config, sizeof config)};
        if (code != status::ok) return {code, "hoa_effect_get_req"};
        basic_effect made{instance(need.static_size)};
        if (made.effect_.memory() == nullptr) return {status::out_of_memory, "hoa_effect_init"};
        code = status{hoa_effect_init(&made.effect_.handle, 1, &config, sizeof config,
                                      made.effect_.memory(), need.static_size)};
        if (code != status::ok) return {code, "hoa_effect_init"};
        return made;
    }

    /* HOA_EFFECT_PARAM_ROTATION */
    status try_rotate(degrees yaw, degrees pitch) noexcept {
        const s32 words[2] = {yaw.q16(), pitch.q16()};
        return set(HOA_EFFECT_PARAM_ROTATION, words);
    }
    /* HOA_EFFECT_PARAM_FOCUS, enabled */
    status try_focus(degrees yaw, degrees pitch) noexcept {
        const s32 words[3] = {yaw.q16(), pitch.q16(), 1};
        return set(HOA_EFFECT_PARAM_FOCUS, words);
    }
    /* HOA_EFFECT_PARAM_FOCUS, not enabled */
    status try_end_focus() noexcept {
        const s32 words[3] = {0, 0, 0};
        return set(HOA_EFFECT_PARAM_FOCUS, words);
    }
    /* Both in one ramp; refused, both stay. */
    status try_rotate_and_focus(direction rotation, direction focus) noexcept {
        if (effect_.handle == nullptr) return status::bad_memory;
        if (!is_in_range(rotation) || !is_in_range(focus)) return status::bad_value;
        effect_.handle->rotation_yaw = rotation.yaw.q16();
        effect_.handle->rotation_pitch = rotation.pitch.q16();
        effect_.handle->focus_yaw = focus.yaw.q16();
        effect_.handle->focus_pitch = focus.pitch.q16();
        effect_.handle->focus_enable = 1;
        effect_.handle->ramp_pos = 0;
        return status{hoa_effect_calculate_effect_matrix(effect_.handle)};
    }
    /* As hoa_effect_reset. */
    status try_reset() noexcept { return status{hoa_effect_reset(effect_.handle)}; }

    /* As hoa_effect_process: in->frames samples; out is as long, and may be the same. */
    status try_process(const first_order<const Sample> &in,
                       const first_order<Sample> &out) noexcept {
        assert(out.frames() == in.frames());
        return status{hoa_effect_process(effect_.handle, HOA_EFFECT_OUT_TAG, out.get(),
                                         sizeof(hoa_effect_buffer), HOA_EFFECT_IN_TAG, in.get(),
                                         sizeof(hoa_effect_buffer))};
    }

    [[nodiscard]] direction rotation() const noexcept {
        s32 words[2] = {};
        (void)hoa_effect_get(effect_.handle, HOA_EFFECT_PARAM_ROTATION, words, sizeof words);
        return {degrees::from_q16(words[0]), degrees::from_q16(words[1])};
    }
    /* Where the focus is, if there is one. */
    [[nodiscard]] std::optional<direction> focus() const noexcept {
        s32 words[4] = {};
        (void)hoa_effect_get(effect_.handle, HOA_EFFECT_PARAM_FOCUS, words, sizeof words);
        if (words[2] == 0) return std::nullopt;
        return direction{degrees::from_q16(words[0]), degrees::from_q16(words[1])};
    }

    /* For the C functions. */
    [[nodiscard]] hoa_effect_state *get() const noexcept { return effect_.handle; }

#if EARSHOT_EXCEPTIONS
    basic_effect() : basic_effect(try_make().value()) {}
    void rotate(degrees yaw, degrees pitch) {
        detail::check(try_rotate(yaw, pitch), "hoa_effect_set");
    }
    void focus(degrees yaw, degrees pitch) {
        detail::check(try_focus(yaw, pitch), "hoa_effect_set");
    }
    void end_focus() { detail::check(try_end_focus(), "hoa_effect_set"); }
    void rotate_and_focus(direction rotation, direction focus) {
        detail::check(try_rotate_and_focus(rotation, focus), "hoa_effect_calculate_effect_matrix");
    }
    void reset() { detail::check(try_reset(), "hoa_effect_reset"); }
    void process(const first_order<const Sample> &in, const first_order<Sample> &out) {
        detail::check(try_process(in, out), "hoa_effect_process");
    }
#endif

  private:
    using instance = detail::instance<hoa_effect_state>;
    explicit basic_effect(instance made) noexcept : effect_(std::move(made)) {}

    template <std::size_t Count> status set(u32 parameter, const s32 (&words)[Count]) noexcept {
        return status{hoa_effect_set(effect_.handle, parameter, words, sizeof words)};
    }
    static bool is_in_range(direction d) noexcept {
        return d.yaw.q16() >= -HOA_EFFECT_MAX_YAW && d.yaw.q16() <= HOA_EFFECT_MAX_YAW &&
               d.pitch.q16() >= -HOA_EFFECT_MAX_PITCH && d.pitch.q16() <= HOA_EFFECT_MAX_PITCH;
    }

    instance effect_;
};

using effect = basic_effect<s32>;
using effect16 = basic_effect<s16>;

/* --- Heads: head.h -----------------------------------------------------------------------------*/

/* A head, constant once it is made: any number of threads may use one at a time. */
class head {
  public:
    /* The built-in one, as earshot_head_builtin. */
    static result<head> try_make() noexcept {
        const std::size_t size = earshot_head_builtin_size();
        head made{instance(size)};
        if (made.head_.memory() == nullptr) return {status::out_of_memory, "earshot_head_builtin"};
        const status code =
            status{earshot_head_builtin(made.head_.memory(), size, &made.head_.handle)};
        if (code != status::ok) return {code, "earshot_head_builtin"};
        return made;
    }
    /* As earshot_head_open: over the bytes of a head file where they are, aligned for an s32. They
     * have to stay for as long as the head does. */
    static result<head> try_over(span<const std::byte> bytes) noexcept {
        head made{instance()};
        const status code =
            status{earshot_head_open(bytes.data(), bytes.size(), &made.head_.handle)};
        if (code != status::ok) return {code, "earshot_head_open"};
        return made;
    }
    /* The same with a copy of the bytes, which may have any alignment, inside the head. */
    static result<head> try_copy_of(span<const std::byte> bytes) noexcept {
        if (bytes.empty()) return {status::bad_value, "earshot_head_open"};
        head made{instance(bytes.size())};
        if (made.head_.memory() == nullptr) return {status::out_of_memory, "earshot_head_open"};
        std::memcpy(made.head_.memory(), bytes.data(), bytes.size());
        const status code =
            status{earshot_head_open(made.head_.memory(), bytes.size(), &made.head_.handle)};
        if (code != status::ok) return {code, "earshot_head_open"};
        return made;
    }

    /* As earshot_head_describe; of a head that was moved away all is 0, its name too. */
    [[nodiscard]] earshot_head_info describe() const noexcept {
        earshot_head_info info = {};
        (void)earshot_head_describe(head_.handle, &info);
        return info;
    }
    /* As earshot_head_filter. */
    status try_filter(degrees azimuth, degrees elevation,
                      earshot_filter_pair &pair) const noexcept {
        return status{earshot_head_filter(head_.handle, azimuth.q16(), elevation.q16(), &pair)};
    }
    /* As earshot_head_channel: filters inside the head. */
    result<const earshot_filter_pair *> try_channel(u32 channel) const noexcept {
        const earshot_filter_pair *pair = nullptr;
        const status code = status{earshot_head_channel(head_.handle, channel, &pair)};
        if (code != status::ok) return {code, "earshot_head_channel"};
        return pair;
    }

    [[nodiscard]] const earshot_head *get() const noexcept { return head_.handle; }

#if EARSHOT_EXCEPTIONS
    head() : head(try_make().value()) {}
    static head over(span<const std::byte> bytes) { return try_over(bytes).value(); }
    static head copy_of(span<const std::byte> bytes) { return try_copy_of(bytes).value(); }
    void filter(degrees azimuth, degrees elevation, earshot_filter_pair &pair) const {
        detail::check(try_filter(azimuth, elevation, pair), "earshot_head_filter");
    }
    [[nodiscard]] const earshot_filter_pair &channel(u32 channel) const {
        return *try_channel(channel).value();
    }
#endif

  private:
    using instance = detail::instance<const earshot_head>;
    explicit head(instance made) noexcept : head_(std::move(made)) {}

    instance head_;
};

/* As earshot_head_shorten. */
inline void shorten(earshot_filter_pair &pair) noexcept { (void)earshot_head_shorten(&pair); }

/* --- Renderer whose headroom follows the signal: binaural.h ------------------------------------*/

/* Shifts words to the left by a frame's exponent (to the right where it is negative), with
 * saturation: what comes out is Q31. */
inline void apply_exponent(span<s32> words, s32 exponent) noexcept {
    for (s32 &word : words) word = ARM_s32_shl_s32_sat(word, exponent);
}

/* As binaural.h's; filters are the program's, which keeps them. head_renderer keeps its own. */
class renderer {
  public:
    static result<renderer> try_make(u32 sources, u32 frame_length = EARSHOT_HEAD_FRAME,
                                     u32 lead = EARSHOT_HEAD_LEAD) noexcept {
        const earshot_binaural_config config = {sources, frame_length, lead};
        std::size_t size = 0;
        status code = status{earshot_binaural_get_size(&config, &size)};
        if (code != status::ok) return {code, "earshot_binaural_get_size"};
        renderer made(size, config);
        if (made.renderer_.memory() == nullptr)
            return {status::out_of_memory, "earshot_binaural_init"};
        code = status{
            earshot_binaural_init(&made.renderer_.handle, &config, made.renderer_.memory(), size)};
        if (code != status::ok) return {code, "earshot_binaural_init"};
        return made;
    }

    [[nodiscard]] u32 sources() const noexcept { return config_.sources; }
    [[nodiscard]] u32 frame_length() const noexcept { return config_.frame_length; }
    [[nodiscard]] u32 lead() const noexcept { return config_.lead; }

    /* As earshot_binaural_set: the pair is read for as long as the source has it. */
    status try_set(u32 source, const earshot_filter_pair &pair) noexcept {
        return status{earshot_binaural_set(renderer_.handle, source, &pair)};
    }
    status try_set(u32 source, const earshot_filter_pair &&pair) = delete;
    /* As earshot_binaural_fix_headroom. */
    status try_fix_headroom(s32 bits) noexcept {
        return status{earshot_binaural_fix_headroom(renderer_.handle, bits)};
    }
    [[nodiscard]] u64 unsafe_frames() const noexcept {
        return earshot_binaural_unsafe_frames(renderer_.handle);
    }
    /* As earshot_binaural_process: a window of 256 samples for each source, and room for
     * frame_length() pairs. */
    status try_process(span<const s32 *const> windows, span<s32> ears, s32 &exponent) noexcept {
        assert(windows.size() >= sources() && ears.size() / 2 >= frame_length());
        return status{
            earshot_binaural_process(renderer_.handle, windows.data(), ears.data(), &exponent)};
    }

    [[nodiscard]] earshot_binaural *get() const noexcept { return renderer_.handle; }

#if EARSHOT_EXCEPTIONS
    explicit renderer(u32 sources, u32 frame_length = EARSHOT_HEAD_FRAME,
                      u32 lead = EARSHOT_HEAD_LEAD)
        : renderer(try_make(sources, frame_length, lead).value()) {}
    void set(u32 source, const earshot_filter_pair &pair) {
        detail::check(try_set(source, pair), "earshot_binaural_set");
    }
    void set(u32 source, const earshot_filter_pair &&pair) = delete;
    void fix_headroom(s32 bits) {
        detail::check(try_fix_headroom(bits), "earshot_binaural_fix_headroom");
    }
    /* Returns the exponent. */
    s32 process(span<const s32 *const> windows, span<s32> ears) {
        s32 exponent = 0;
        detail::check(try_process(windows, ears, exponent), "earshot_binaural_process");
        return exponent;
    }
#endif

  private:
    renderer(std::size_t size, const earshot_binaural_config &config) noexcept
        : renderer_(size), config_(config) {}

    detail::instance<earshot_binaural> renderer_;
    earshot_binaural_config config_;
};

/*
 * A renderer with the filters of its sources, which it takes from a head: a source is placed before
 * the first frame, and again before each at whose end it is somewhere else. Of several places that
 * it is given before a frame, the last one counts. Makes two allocations.
 */
class head_renderer {
  public:
    /* The head has to stay for as long as the renderer does. */
    static result<head_renderer> try_make(const head &from, u32 sources) noexcept {
        result<renderer> made = renderer::try_make(sources);
        if (!made) return {made.code(), made.call()};
        head_renderer all(from.get(), *std::move(made));
        if (all.seats_.memory() == nullptr) return {status::out_of_memory, "earshot_binaural_init"};
        all.seats_.handle = reinterpret_cast<seat *>(all.seats_.memory());
        for (u32 k = 0; k < sources; ++k) new (all.seats_.handle + k) seat;
        return all;
    }
    static result<head_renderer> try_make(head &&from, u32 sources) = delete;

    [[nodiscard]] u32 sources() const noexcept { return renderer_.sources(); }
    [[nodiscard]] u32 frame_length() const noexcept { return renderer_.frame_length(); }
    [[nodiscard]] u32 lead() const noexcept { return renderer_.lead(); }

    /* As earshot_head_filter and earshot_binaural_set. */
    status try_place(u32 source, degrees azimuth, degrees elevation) noexcept {
        if (renderer_.get() == nullptr) return status::bad_memory;
        if (source >= sources()) return status::bad_value;
        seat &its = seats_.handle[source];
        /* The pair that is heard at the beginning of the next frame stays as it is. */
        const u32 next = its.frame == frame_ ? its.latest : its.latest ^ 1u;
        status code =
            status{earshot_head_filter(head_, azimuth.q16(), elevation.q16(), &its.pairs[next])};
        if (code == status::ok) code = renderer_.try_set(source, its.pairs[next]);
        if (code != status::ok) return code;
        its.latest = next;
        its.frame = frame_;
        return code;
    }
    /* As earshot_binaural_process, as in renderer. */
    status try_process(span<const s32 *const> windows, span<s32> ears, s32 &exponent) noexcept {
        const status code = renderer_.try_process(windows, ears, exponent);
        if (code == status::ok) ++frame_;
        return code;
    }

#if EARSHOT_EXCEPTIONS
    head_renderer(const head &from, u32 sources) : head_renderer(try_make(from, sources).value()) {}
    head_renderer(head &&from, u32 sources) = delete;
    void place(u32 source, degrees azimuth, degrees elevation) {
        detail::check(try_place(source, azimuth, elevation), "earshot_binaural_set");
    }
    s32 process(span<const s32 *const> windows, span<s32> ears) {
        s32 exponent = 0;
        detail::check(try_process(windows, ears, exponent), "earshot_binaural_process");
        return exponent;
    }
#endif

  private:
    /* Two pairs that take turns, and which of them was given last, before which frame. */
    struct seat {
        earshot_filter_pair pairs[2];
        u64 frame = 0;
        u32 latest = 0;
    };

    head_renderer(const earshot_head *from, renderer made) noexcept
        : renderer_(std::move(made)), seats_(sizeof(seat) * renderer_.sources()), head_(from) {}

    renderer renderer_;
    detail::instance<seat> seats_;
    const earshot_head *head_;
    u64 frame_ = 1; /* the next one */
};

/* --- Selection, front end, back end: hrtf.h ----------------------------------------------------*/

enum class filter_tables : u32 { diffuse = 0, amb = 2 };

/* From a direction to a filter pair of the tables. */
class selection {
  public:
    static result<selection> try_make(filter_tables tables = filter_tables::diffuse) noexcept {
        const hrtf_config config = {static_cast<u32>(tables)};
        hrtf_requirement need;
        status code = status{hrtf_get_req(0, &need, 1, &config)};
        if (code != status::ok) return {code, "hrtf_get_req"};
        selection made{instance(need.static_size)};
        if (made.instance_.memory() == nullptr) return {status::out_of_memory, "hrtf_init"};
        code = status{hrtf_init(&made.instance_.handle, 1, &config, made.instance_.memory(),
                                need.static_size)};
        if (code != status::ok) return {code, "hrtf_init"};
        return made;
    }

    /* As hrtf_process. */
    result<hrtf_filter_pair> try_select(degrees azimuth, degrees elevation) noexcept {
        hrtf_position position = {0, azimuth.q16(), elevation.q16()};
        hrtf_filter_pair pair = {};
        const status code = status{hrtf_process(instance_.handle, 3, &pair, 2, &position)};
        if (code != status::ok) return {code, "hrtf_process"};
        return pair;
    }

    [[nodiscard]] hrtf_instance *get() const noexcept { return instance_.handle; }

#if EARSHOT_EXCEPTIONS
    explicit selection(filter_tables tables = filter_tables::diffuse)
        : selection(try_make(tables).value()) {}
    hrtf_filter_pair select(degrees azimuth, degrees elevation) {
        return try_select(azimuth, elevation).value();
    }
#endif

  private:
    using instance = detail::instance<hrtf_instance>;
    explicit selection(instance made) noexcept : instance_(std::move(made)) {}

    instance instance_;
};

/* The sums of a frame between front end and back end, 0 at first. Its record points at it: it can
 * be neither moved nor copied. */
class ear_spectra {
  public:
    static constexpr u32 bins = 129;

    ear_spectra() noexcept = default;
    ear_spectra(const ear_spectra &) = delete;
    ear_spectra &operator=(const ear_spectra &) = delete;

    void clear() noexcept { ear = {}; }
    /* For the C functions. */
    [[nodiscard]] const hrtf_ear_spectra *get() noexcept { return &record_; }

    std::array<std::array<s32, 2 * bins>, 2> ear = {};

  private:
    hrtf_ear_spectra record_ = {{ear[0].data(), ear[1].data()}};
};

class front_end {
  public:
    static result<front_end> try_make(u32 sources,
                                      filter_tables tables = filter_tables::diffuse) noexcept {
        const hrtf_filt_front_config config = {static_cast<u32>(tables), 48000, sources, 0, 0};
        hrtf_requirement need;
        status code = status{hrtf_filt_front_get_req(0, &need, 1, &config)};
        if (code != status::ok) return {code, "hrtf_filt_front_get_req"};
        const std::size_t scratch = detail::rounded_up(need.static_size);
        front_end made{instance(scratch + need.scratch_size)};
        std::byte *const memory = made.instance_.memory();
        if (memory == nullptr) return {status::out_of_memory, "hrtf_filt_front_init"};
        code = status{
            hrtf_filt_front_init(&made.instance_.handle, 1, &config, memory, need.static_size)};
        if (code == status::ok)
            code = status{hrtf_filt_front_scratch_get_init(made.instance_.handle, &config,
                                                           memory + scratch, 1)};
        if (code != status::ok) return {code, "hrtf_filt_front_init"};
        return made;
    }

    [[nodiscard]] u32 sources() const noexcept {
        return instance_.handle == nullptr ? 0 : instance_.handle->state->config.max_sources;
    }

    /* As HRTF_FILT_FRONT_PARAM_SELECT. Tells whether the source has other filters than before: then
     * the back end's changed() is due before its next frame, if it is not the first. */
    result<bool> try_select(u32 source, degrees azimuth, degrees elevation) noexcept {
        if (instance_.handle == nullptr) return {status::bad_memory, "hrtf_filt_front_set"};
        if (source >= sources()) return {status::bad_value, "hrtf_filt_front_set"};
        const hrtf_filter_pair before = filters(source);
        hrtf_filt_front_direction payload = {
            sizeof payload, source, {0, azimuth.q16(), elevation.q16()}};
        const status code = set(HRTF_FILT_FRONT_PARAM_SELECT, &payload);
        if (code != status::ok) return {code, "hrtf_filt_front_set"};
        const hrtf_filter_pair after = filters(source);
        return after.ear[0] != before.ear[0] || after.ear[1] != before.ear[1];
    }
    /* As earshot_head_use: the pair is read for as long as the source has it. */
    status try_use(u32 source, const earshot_filter_pair &pair) noexcept {
        return status{earshot_head_use(instance_.handle, source, &pair)};
    }
    status try_use(u32 source, const earshot_filter_pair &&pair) = delete;
    /* As HRTF_FILT_FRONT_PARAM_ACTIVE: the first `count` sources are processed. */
    status try_activate(u32 count) noexcept {
        hrtf_word_payload payload = {sizeof payload, count};
        return set(HRTF_FILT_FRONT_PARAM_ACTIVE, &payload);
    }
    /* As hrtf_filt_front_reset. */
    status try_reset() noexcept { return status{hrtf_filt_front_reset(instance_.handle)}; }
    /* As hrtf_filt_front_process: adds to the spectra; a window of 256 samples for each active
     * source. */
    status try_process(span<const s32 *const> windows, ear_spectra &spectra) noexcept {
        assert(instance_.handle == nullptr || windows.size() >= instance_.handle->state->active);
        return status{hrtf_filt_front_process(instance_.handle, ear_spectra::bins, spectra.get(),
                                              256, windows.data())};
    }

    [[nodiscard]] hrtf_filt_front_instance *get() const noexcept { return instance_.handle; }

#if EARSHOT_EXCEPTIONS
    explicit front_end(u32 sources, filter_tables tables = filter_tables::diffuse)
        : front_end(try_make(sources, tables).value()) {}
    bool select(u32 source, degrees azimuth, degrees elevation) {
        return try_select(source, azimuth, elevation).value();
    }
    void use(u32 source, const earshot_filter_pair &pair) {
        detail::check(try_use(source, pair), "earshot_head_use");
    }
    void use(u32 source, const earshot_filter_pair &&pair) = delete;
    void activate(u32 count) { detail::check(try_activate(count), "hrtf_filt_front_set"); }
    void reset() { detail::check(try_reset(), "hrtf_filt_front_reset"); }
    void process(span<const s32 *const> windows, ear_spectra &spectra) {
        detail::check(try_process(windows, spectra), "hrtf_filt_front_process");
    }
#endif

  private:
    using instance = detail::instance<hrtf_filt_front_instance>;
    explicit front_end(instance made) noexcept : instance_(std::move(made)) {}

    status set(u32 parameter, void *payload) noexcept {
        return status{hrtf_filt_front_set(instance_.handle, parameter, payload)};
    }
    [[nodiscard]] hrtf_filter_pair filters(u32 source) const noexcept {
        const hrtf_filt_front_source &its = instance_.handle->state->sources[source];
        return {{its.filter[0], its.filter[1]}};
    }

    instance instance_;
};

/* With output of 32 bits, or of 16 as hrtf_filt_back_process tells; a buffer for each ear, or
 * pairs. */
template <typename Sample, bool Interleaved> class basic_back_end {
    static_assert(std::is_same_v<Sample, s32> || std::is_same_v<Sample, s16>);

  public:
    /* crossfade: where sources move, which wants frames of 96. */
    static result<basic_back_end> try_make(u32 frame_length, bool crossfade) noexcept {
        const hrtf_filt_back_config config = {crossfade, frame_length,   256,
                                              0,         sizeof(Sample), Interleaved};
        hrtf_requirement need;
        status code = status{hrtf_filt_back_get_req(0, &need, 1, &config)};
        if (code != status::ok) return {code, "hrtf_filt_back_get_req"};
        const std::size_t scratch = detail::rounded_up(need.static_size);
        basic_back_end made{instance(scratch + need.scratch_size)};
        std::byte *const memory = made.instance_.memory();
        if (memory == nullptr) return {status::out_of_memory, "hrtf_filt_back_init"};
        code = status{
            hrtf_filt_back_init(&made.instance_.handle, 1, &config, memory, need.static_size)};
        if (code == status::ok)
            code = status{hrtf_filt_back_scratch_get_init(made.instance_.handle, &config,
                                                          memory + scratch, 1)};
        if (code != status::ok) return {code, "hrtf_filt_back_init"};
        made.frame_length_ = frame_length;
        return made;
    }

    [[nodiscard]] u32 frame_length() const noexcept { return frame_length_; }

    /* HRTF_FILT_BACK_PARAM_CHANGED: the next frame fades. */
    status try_changed() noexcept {
        const hrtf_word_payload payload = {sizeof payload, 1};
        return status{hrtf_filt_back_set(instance_.handle, HRTF_FILT_BACK_PARAM_CHANGED, &payload)};
    }
    /* As hrtf_filt_back_reset. */
    status try_reset() noexcept { return status{hrtf_filt_back_reset(instance_.handle)}; }
    /* As hrtf_filt_back_process, which overwrites the spectra. */
    status try_process(ear_spectra &spectra, span<Sample> left, span<Sample> right) noexcept {
        static_assert(!Interleaved);
        assert(left.size() >= frame_length_ && right.size() >= frame_length_);
        return process_to({{left.data(), right.data()}}, spectra);
    }
    status try_process(ear_spectra &spectra, span<Sample> pairs) noexcept {
        static_assert(Interleaved);
        assert(pairs.size() / 2 >= frame_length_);
        return process_to({{pairs.data(), nullptr}}, spectra);
    }

    [[nodiscard]] hrtf_filt_back_instance *get() const noexcept { return instance_.handle; }

#if EARSHOT_EXCEPTIONS
    basic_back_end(u32 frame_length, bool crossfade)
        : basic_back_end(try_make(frame_length, crossfade).value()) {}
    void changed() { detail::check(try_changed(), "hrtf_filt_back_set"); }
    void reset() { detail::check(try_reset(), "hrtf_filt_back_reset"); }
    void process(ear_spectra &spectra, span<Sample> left, span<Sample> right) {
        detail::check(try_process(spectra, left, right), "hrtf_filt_back_process");
    }
    void process(ear_spectra &spectra, span<Sample> pairs) {
        detail::check(try_process(spectra, pairs), "hrtf_filt_back_process");
    }
#endif

  private:
    using instance = detail::instance<hrtf_filt_back_instance>;
    explicit basic_back_end(instance made) noexcept : instance_(std::move(made)) {}

    status process_to(const hrtf_ear_outputs &outputs, ear_spectra &spectra) noexcept {
        return status{hrtf_filt_back_process(instance_.handle, frame_length_, &outputs,
                                             ear_spectra::bins, spectra.get())};
    }

    instance instance_;
    u32 frame_length_ = 0;
};

using back_end = basic_back_end<s32, false>;
using back_end16 = basic_back_end<s16, false>;
using interleaved_back_end = basic_back_end<s32, true>;
using interleaved_back_end16 = basic_back_end<s16, true>;

/* --- Fields: field.h ---------------------------------------------------------------------------*/

/* w, x, y, z; the length does not matter. */
using quaternion = std::array<s32, 4>;

/* Channels of a field of an order. */
constexpr std::size_t field_channels(u32 order) noexcept {
    return (std::size_t{order} + 1) * (std::size_t{order} + 1);
}

namespace detail {
/* Whether a field of an order that exists has room in so many words or pointers. */
constexpr bool holds_field(std::size_t size, u32 order) noexcept {
    return order > EARSHOT_FIELD_ORDER || size >= field_channels(order);
}
} // namespace detail

/* As earshot_field_gains, of a direction; fewer gains than channels: bad_channel_count. */
inline status try_field_gains(u32 order, degrees azimuth, degrees elevation,
                              span<s32> gains) noexcept {
    if (!detail::holds_field(gains.size(), order)) return status::bad_channel_count;
    return status{earshot_field_gains(order, azimuth.turns(), elevation.turns(), gains.data())};
}

/* As earshot_field_circle. */
class field_circle {
  public:
    static result<field_circle> try_make(u32 order, degrees elevation) noexcept {
        field_circle made{unmade{}};
        const status code =
            status{earshot_field_circle_at(order, elevation.turns(), &made.record_)};
        if (code != status::ok) return {code, "earshot_field_circle_at"};
        return made;
    }

    /* As earshot_field_circle_gains. */
    status try_gains(degrees azimuth, span<s32> gains) const noexcept {
        if (!detail::holds_field(gains.size(), record_.order)) return status::bad_channel_count;
        return status{earshot_field_circle_gains(&record_, azimuth.turns(), gains.data())};
    }

    [[nodiscard]] const earshot_field_circle &get() const noexcept { return record_; }

#if EARSHOT_EXCEPTIONS
    field_circle(u32 order, degrees elevation) : field_circle(try_make(order, elevation).value()) {}
    void gains(degrees azimuth, span<s32> gains) const {
        detail::check(try_gains(azimuth, gains), "earshot_field_circle_gains");
    }
#endif

  private:
    struct unmade {};
    explicit field_circle(unmade) noexcept {}

    earshot_field_circle record_ = {};
};

/* As earshot_field_rotation: a value. */
class field_rotation {
  public:
    static result<field_rotation> try_make(u32 order, const quaternion &turn) noexcept {
        field_rotation made{unmade{}};
        const status code = status{earshot_field_rotation_of(order, turn.data(), &made.record_)};
        if (code != status::ok) return {code, "earshot_field_rotation_of"};
        return made;
    }

    [[nodiscard]] u32 order() const noexcept { return record_.order; }
    [[nodiscard]] const earshot_field_rotation &get() const noexcept { return record_; }

#if EARSHOT_EXCEPTIONS
    field_rotation(u32 order, const quaternion &turn)
        : field_rotation(try_make(order, turn).value()) {}
#endif

  private:
    struct unmade {};
    explicit field_rotation(unmade) noexcept {}

    earshot_field_rotation record_ = {};
};

/* Which frames of a block a call has. */
struct field_part {
    u32 length; /* of the block */
    u32 begin;
    u32 frames;
};

/* As earshot_field_rotate: a part of a block, or a whole one; adds to clipped. */
inline status try_rotate_field(const field_rotation &from, const field_rotation &to,
                               field_part part, span<s32 *const> channels, u64 &clipped) noexcept {
    assert(detail::holds_field(channels.size(), from.order()));
    return status{earshot_field_rotate(&from.get(), &to.get(), part.length, part.begin, part.frames,
                                       channels.data(), &clipped)};
}
inline status try_rotate_field(const field_rotation &from, const field_rotation &to, u32 frames,
                               span<s32 *const> channels, u64 &clipped) noexcept {
    return try_rotate_field(from, to, field_part{frames, 0, frames}, channels, clipped);
}

#if EARSHOT_EXCEPTIONS
inline void field_gains(u32 order, degrees azimuth, degrees elevation, span<s32> gains) {
    detail::check(try_field_gains(order, azimuth, elevation, gains), "earshot_field_gains");
}
inline void rotate_field(const field_rotation &from, const field_rotation &to, field_part part,
                         span<s32 *const> channels, u64 &clipped) {
    detail::check(try_rotate_field(from, to, part, channels, clipped), "earshot_field_rotate");
}
inline void rotate_field(const field_rotation &from, const field_rotation &to, u32 frames,
                         span<s32 *const> channels, u64 &clipped) {
    detail::check(try_rotate_field(from, to, frames, channels, clipped), "earshot_field_rotate");
}
#endif

/* --- Transforms: fft.h -------------------------------------------------------------------------*/

namespace detail {

constexpr std::size_t twiddle_words = 6 * 256;
constexpr std::size_t recombination_words = 2 * 256;

constexpr bool is_transform(u32 points, u32 least) noexcept {
    return points >= least && points <= 1024 && (points & (points - 1)) == 0;
}

/* The tables of fft.h in double precision. No entry is nearer than 9e-4 units to where it would
 * round the other way, so that they are the same with every library of mathematics. */
inline s32 rounded(double value) noexcept {
    return value >= 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<s32>(std::floor(value + 0.5));
}
inline constexpr double turn = 6.28318530717958647692;

inline void make_twiddles(s32 *words) noexcept {
    for (int g = 0; g < 256; ++g, words += 6) {
        int reversed = 0;
        for (int bit = 0; bit < 8; ++bit) reversed |= (g >> bit & 1) << (7 - bit);
        const double theta = turn * reversed / 1024;
        const double values[6] = {-std::sin(theta),     -std::cos(theta),     std::cos(2 * theta),
                                  -std::sin(2 * theta), -std::sin(3 * theta), -std::cos(3 * theta)};
        for (int k = 0; k < 6; ++k) words[k] = rounded(2147483648.0 * values[k]);
    }
}

inline void make_recombination(s32 *words) noexcept {
    for (int e = 1; e <= 256; ++e, words += 2) {
        words[0] = rounded(2147483647.0 * std::sin(turn * e / 1024));
        words[1] = rounded(2147483647.0 * std::cos(turn * e / 1024));
    }
}

} // namespace detail

/*
 * Complex transforms of 32 bits, with their table: `points` values, twice as many words, in and out
 * apart from each other. Constant: any number of threads may use one at a time.
 */
class complex_transform {
  public:
    /* 16 to 1024 points, a power of two, else bad_value. */
    static result<complex_transform> try_make(u32 points) noexcept {
        if (!detail::is_transform(points, 16)) return {status::bad_value, "cmplxfft32x32"};
        complex_transform made(sizeof(s32) * detail::twiddle_words, points);
        if (made.table_.memory() == nullptr) return {status::out_of_memory, "cmplxfft32x32"};
        made.table_.handle = reinterpret_cast<s32 *>(made.table_.memory());
        detail::make_twiddles(made.table_.handle);
        return made;
    }

    [[nodiscard]] u32 points() const noexcept { return static_cast<u32>(points_); }

    /* As cmplxfft32x32. */
    void forward(span<const s32> in, span<s32> out) const noexcept {
        assert(in.size() / 2 >= points() && out.size() / 2 >= points());
        cmplxfft32x32(in.data(), points_, table_.handle, out.data());
    }
    /* As cmplxifft32x32_scaled: the inverse of forward. */
    void inverse(span<const s32> in, span<s32> out) const noexcept {
        assert(in.size() / 2 >= points() && out.size() / 2 >= points());
        cmplxifft32x32_scaled(in.data(), points_, table_.handle, out.data());
    }
    /* As cmplxifft32x32. */
    void unscaled_inverse(span<const s32> in, span<s32> out) const noexcept {
        assert(in.size() / 2 >= points() && out.size() / 2 >= points());
        cmplxifft32x32(in.data(), points_, table_.handle, out.data());
    }

#if EARSHOT_EXCEPTIONS
    explicit complex_transform(u32 points) : complex_transform(try_make(points).value()) {}
#endif

  private:
    complex_transform(std::size_t size, u32 points) noexcept
        : table_(size), points_(static_cast<s32>(points)) {}

    detail::instance<s32> table_;
    s32 points_;
};

/*
 * Real transforms of 32 bits, with their tables and room for a spectrum: `points` samples, and
 * spectra of points + 2 words, apart from each other. One thread at a time may use the inverses
 * that keep their spectrum, any number the others.
 */
class real_transform {
  public:
    /* 32 to 1024 points, a power of two, else bad_value. */
    static result<real_transform> try_make(u32 points) noexcept {
        if (!detail::is_transform(points, 32)) return {status::bad_value, "Vorkel_rfft_32x32"};
        constexpr std::size_t tables = detail::twiddle_words + detail::recombination_words;
        real_transform made(sizeof(s32) * (tables + points + 2), points);
        if (made.tables_.memory() == nullptr) return {status::out_of_memory, "Vorkel_rfft_32x32"};
        made.tables_.handle = reinterpret_cast<s32 *>(made.tables_.memory());
        detail::make_twiddles(made.tables_.handle);
        detail::make_recombination(made.tables_.handle + detail::twiddle_words);
        return made;
    }

    [[nodiscard]] u32 points() const noexcept { return static_cast<u32>(points_); }

    /* As Vorkel_rfft_32x32. */
    void forward(span<const s32> in, span<s32> spectrum) const noexcept {
        assert(in.size() >= points() && spectrum.size() >= points() + 2);
        Vorkel_rfft_32x32(in.data(), points_, tables_.handle,
                          tables_.handle + detail::twiddle_words, 1024 / points_, spectrum.data());
    }
    /* As Vorkel_rifft_32x32_scaled, the inverse of forward; overwrites the spectrum. */
    void inverse_in(span<s32> spectrum, span<s32> out) const noexcept {
        assert(spectrum.size() >= points() + 2 && out.size() >= points());
        Vorkel_rifft_32x32_scaled(spectrum.data(), points_, tables_.handle,
                                  tables_.handle + detail::twiddle_words, 1024 / points_,
                                  out.data());
    }
    /* As Vorkel_rifft_32x32; overwrites the spectrum. */
    void unscaled_inverse_in(span<s32> spectrum, span<s32> out) const noexcept {
        assert(spectrum.size() >= points() + 2 && out.size() >= points());
        Vorkel_rifft_32x32(spectrum.data(), points_, tables_.handle,
                           tables_.handle + detail::twiddle_words, 1024 / points_, out.data());
    }
    /* The same, of a copy of the spectrum. */
    void inverse(span<const s32> spectrum, span<s32> out) noexcept {
        inverse_in(copy_of(spectrum), out);
    }
    void unscaled_inverse(span<const s32> spectrum, span<s32> out) noexcept {
        unscaled_inverse_in(copy_of(spectrum), out);
    }

#if EARSHOT_EXCEPTIONS
    explicit real_transform(u32 points) : real_transform(try_make(points).value()) {}
#endif

  private:
    real_transform(std::size_t size, u32 points) noexcept
        : tables_(size), points_(static_cast<s32>(points)) {}

    span<s32> copy_of(span<const s32> spectrum) noexcept {
        assert(spectrum.size() >= points() + 2);
        s32 *const scratch = tables_.handle + detail::twiddle_words + detail::recombination_words;
        std::copy_n(spectrum.data(), points() + 2, scratch);
        return {scratch, points() + 2};
    }

    detail::instance<s32> tables_;
    s32 points_;
};

enum class way : u32 { forward = 0, inverse = 1 };

namespace detail {

/* Points of a transform from what goes in; 0, which is refused, where it does not fit what comes
 * out. */
inline s32 complex_points(span<const s16> in, span<s16> out) noexcept {
    return in.size() == out.size() && in.size() % 2 == 0 && in.size() <= 2048
               ? static_cast<s32>(in.size() / 2)
               : 0;
}
inline s32 real_points(way where, span<const s16> in, span<s16> out) noexcept {
    const std::size_t samples = where == way::forward ? in.size() : out.size();
    const std::size_t spectrum = where == way::forward ? out.size() : in.size();
    return spectrum == samples + 2 && samples <= 1024 ? static_cast<s32>(samples) : 0;
}

} // namespace detail

/* The transforms of 16 bits, which need no memory: as c_fft and r_fft, and as fft1 and fft1r, which
 * tell the exponent. A spectrum of a real transform has two words more than its samples. Lengths
 * that are none, or do not fit each other: bad_value. */
inline status try_complex_transform16(way where, span<const s16> in, span<s16> out) noexcept {
    return status{
        c_fft(in.data(), detail::complex_points(in, out), static_cast<u32>(where), out.data())};
}
inline status try_complex_transform16(way where, span<const s16> in, span<s16> out,
                                      s32 &exponent) noexcept {
    return status{fft1(in.data(), detail::complex_points(in, out), static_cast<u32>(where),
                       out.data(), &exponent)};
}
inline status try_real_transform16(way where, span<const s16> in, span<s16> out) noexcept {
    return status{
        r_fft(in.data(), detail::real_points(where, in, out), static_cast<u32>(where), out.data())};
}
inline status try_real_transform16(way where, span<const s16> in, span<s16> out,
                                   s32 &exponent) noexcept {
    return status{fft1r(in.data(), detail::real_points(where, in, out), static_cast<u32>(where),
                        out.data(), &exponent)};
}

#if EARSHOT_EXCEPTIONS
inline void complex_transform16(way where, span<const s16> in, span<s16> out) {
    detail::check(try_complex_transform16(where, in, out), "c_fft");
}
inline void complex_transform16(way where, span<const s16> in, span<s16> out, s32 &exponent) {
    detail::check(try_complex_transform16(where, in, out, exponent), "fft1");
}
inline void real_transform16(way where, span<const s16> in, span<s16> out) {
    detail::check(try_real_transform16(where, in, out), "r_fft");
}
inline void real_transform16(way where, span<const s16> in, span<s16> out, s32 &exponent) {
    detail::check(try_real_transform16(where, in, out, exponent), "fft1r");
}
#endif

/* --- Filters: filters.h ------------------------------------------------------------------------
 *
 * Each with its coefficients and its state, for one channel. out is as long as in, and may be it.
 */

/* As iirDF1_32_ap. */
class all_pass {
  public:
    constexpr all_pass(s32 c0, s32 c1, s32 shift) noexcept : coefs_{c0, c1}, shift_(shift) {}

    void process(span<const s32> in, span<s32> out) noexcept {
        assert(out.size() >= in.size());
        iirDF1_32_ap(in.data(), out.data(), static_cast<s32>(in.size()), coefs_, state_, shift_);
    }
    /* As if nothing had been before. */
    void reset() noexcept { std::fill(std::begin(state_), std::end(state_), 0); }

  private:
    s32 coefs_[2];
    s32 state_[4] = {};
    s32 shift_;
};

/* A cascade of sections of five coefficients, as iirTDF2_32 and iirTDF2_16. */
template <typename Sample> class basic_biquad {
    static_assert(std::is_same_v<Sample, s32> || std::is_same_v<Sample, s16>);

  public:
    /* Coefficients are copied; a count that is no multiple of five: bad_value. */
    static result<basic_biquad> try_make(span<const s32> coefs, s32 shift) noexcept {
        const std::size_t sections = coefs.size() / 5;
        if (coefs.size() % 5 != 0 || sections > 0xFFFF) return {status::bad_value, call};
        basic_biquad made(sections * (2 * sizeof(s64) + 5 * sizeof(s32)),
                          static_cast<s32>(sections), shift);
        if (made.state_.memory() == nullptr) return {status::out_of_memory, call};
        made.state_.handle = reinterpret_cast<s64 *>(made.state_.memory());
        made.coefs_ = reinterpret_cast<s32 *>(made.state_.handle + 2 * sections);
        std::copy(coefs.begin(), coefs.end(), made.coefs_);
        made.reset();
        return made;
    }

    [[nodiscard]] s32 sections() const noexcept { return sections_; }

    void process(span<const Sample> in, span<Sample> out) noexcept {
        assert(out.size() >= in.size() && state_.handle != nullptr);
        const s32 count = static_cast<s32>(in.size());
        if constexpr (std::is_same_v<Sample, s32>)
            iirTDF2_32(in.data(), out.data(), count, coefs_, state_.handle, sections_, shift_);
        else
            iirTDF2_16(in.data(), out.data(), count, coefs_, state_.handle, sections_, shift_);
    }
    void reset() noexcept { std::fill_n(state_.handle, 2 * sections_, 0); }

#if EARSHOT_EXCEPTIONS
    basic_biquad(span<const s32> coefs, s32 shift) : basic_biquad(try_make(coefs, shift).value()) {}
#endif

  private:
    static constexpr const char *call = std::is_same_v<Sample, s32> ? "iirTDF2_32" : "iirTDF2_16";

    basic_biquad(std::size_t size, s32 sections, s32 shift) noexcept
        : state_(size), sections_(sections), shift_(shift) {}

    detail::instance<s64> state_;
    s32 *coefs_ = nullptr; /* behind the state */
    s32 sections_;
    s32 shift_;
};

using biquad = basic_biquad<s32>;
using biquad16 = basic_biquad<s16>;

/* Two stages or one, as dc_block. */
class dc_blocker {
  public:
    /* stages: 1 or 2. */
    explicit dc_blocker(s32 sample_rate, int stages = 2) noexcept : stages_(stages) {
        assert(stages == 1 || stages == 2);
        dc_block_handle unused;
        (void)dc_block_init(&coef_, &unused, sample_rate, xprev_, yprev_);
    }

    void process(span<const s32> in, span<s32> out) noexcept {
        assert(out.size() >= in.size());
        (void)dc_block(in.data(), out.data(), static_cast<s16>(coef_), xprev_, yprev_, stages_,
                       static_cast<s32>(in.size()));
    }
    void reset() noexcept {
        std::fill(std::begin(xprev_), std::end(xprev_), 0);
        std::fill(std::begin(yprev_), std::end(yprev_), 0);
    }

  private:
    s32 xprev_[2];
    s32 yprev_[2];
    u16 coef_;
    s32 stages_;
};

/* --- Gain ramps: spatial.h ---------------------------------------------------------------------*/

/* As a3d_panner: gain in Q15, at rest at 0 first. */
class panner {
  public:
    /* As a3d_panner_setup. */
    void ramp_to(s16 gain, s32 frames) noexcept { a3d_panner_setup(&record_, gain, frames, 0); }
    [[nodiscard]] s16 gain() const noexcept { return a3d_panner_get_current(record_); }
    [[nodiscard]] s32 remaining() const noexcept { return record_.remaining; }
    /* As a3d_buffer32_fill_panner, for whole frames of samples_per_frame. */
    s32 process(span<const s32> in, span<s32> out, s32 samples_per_frame = 1) noexcept {
        assert(samples_per_frame > 0 && out.size() >= in.size());
        return a3d_buffer32_fill_panner(out.data(), in.data(), &record_,
                                        static_cast<s32>(in.size()) / samples_per_frame,
                                        samples_per_frame);
    }

  private:
    a3d_panner record_ = {};
};

/* As a3d_panner32q28: gain in Q28, at rest at 0 first. */
class panner32 {
  public:
    /* As a3d_panner32q28_setup. */
    void ramp_to(s32 gain, s32 samples) noexcept {
        a3d_panner32q28_setup(&record_, gain, samples, 0);
    }
    [[nodiscard]] s32 gain() const noexcept { return a3d_panner32q28_get_current(record_); }
    [[nodiscard]] s32 remaining() const noexcept { return record_.remaining; }
    /* As a3d_buffer32_fill_panner32q28. */
    s32 process(span<const s32> in, span<s32> out) noexcept {
        assert(out.size() >= in.size());
        return a3d_buffer32_fill_panner32q28(out.data(), in.data(), &record_,
                                             static_cast<s32>(in.size()));
    }

  private:
    a3d_panner32q28 record_ = {};
};

/* --- Profiler: profiler.h ----------------------------------------------------------------------*/

/* A record of its own; the name is not copied. */
class profiler {
  public:
    static result<profiler> try_make(const char *name, float iterations_per_second) noexcept {
        profiler made;
        made.record_.reset(NpCreate());
        if (!made.record_) return {status::out_of_memory, "NpCreate"};
        made.has_counters_ = NpInitialize(made.record_.get(), name, iterations_per_second) != 0;
        return made;
    }

    /* As NpInitialize returns. */
    [[nodiscard]] bool has_counters() const noexcept { return has_counters_; }
    void start() noexcept { NpStart(record_.get()); }
    void stop(bool print = false) noexcept { NpStop(record_.get(), print); }
    void report() const noexcept { (void)NpReportSummary(record_.get()); }
    /* The figures. */
    [[nodiscard]] const native_profiler &figures() const noexcept { return *record_; }

#if EARSHOT_EXCEPTIONS
    profiler(const char *name, float iterations_per_second)
        : profiler(try_make(name, iterations_per_second).value()) {}
#endif

  private:
    struct release {
        void operator()(native_profiler *record) const noexcept { NpDestroy(record); }
    };

    profiler() noexcept = default;

    std::unique_ptr<native_profiler, release> record_;
    bool has_counters_ = false;
};

} // namespace EARSHOT_CPP_KIND
} // namespace earshot

#endif
