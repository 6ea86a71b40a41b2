// Writes the tables of math/ as DIRECTORY/*.inc: math_tables DIRECTORY
#include "exact_table.hpp"

using namespace exact_table;

namespace {

constexpr std::int64_t s16_max = 0x7FFF;
constexpr std::int64_t u32_max = 0xFFFFFFFF;

// Row k of the table of (cosine, sine) pairs fills two entries.
std::int64_t cos_sin_entry(long index) {
    const long k = index / 2;
    const bool is_sine = index % 2 != 0;
    if (is_sine && k == 256) return 0; // sin pi
    const formula f = [=](mpfr_ptr x) { is_sine ? sine(x, k, 256) : cosine(x, k, 256); };
    return std::min(nearest(f, 15), s16_max);
}

// round(f(offset + step k, d) 2^31), at most most.
using function = void (*)(mpfr_ptr, long, long);
entry q31(function f, long step, long offset, long d, std::int64_t most) {
    return [=](long k) {
        return std::min(nearest([=](mpfr_ptr x) { f(x, offset + step * k, d); }, 31), most);
    };
}

void binary_log(mpfr_ptr x, long n, long d) {
    ratio(x, n, d);
    mpfr_log2(x, x, MPFR_RNDN);
}

void power_of_two(mpfr_ptr x, long n, long d) {
    ratio(x, n, d);
    mpfr_exp2(x, x, MPFR_RNDN);
}

void inverse_root(mpfr_ptr x, long n, long d) {
    ratio(x, n, d);
    mpfr_rec_sqrt(x, x, MPFR_RNDN);
}

void write(const std::string &directory, const char *name, const char *rule, long entries,
           const entry &value) {
    write_table("math_tables.cpp", directory, name, rule, entries, value);
}

void write_trigonometry(const std::string &to) {
    write(to, "sin_table", "round(sin(k pi / 8192) 2^31), saturated", 4097,
          q31(sine, 1, 0, 8192, s32_max));
    write(to, "interp_table", "k 2^20, saturated", 2049,
          [](long k) { return std::min(std::int64_t{k} << 20, s32_max); });
    write(to, "acos_table", "round(acos(k / 4096) 2^31)", 4097,
          q31(arc_cosine, 1, 0, 4096, u32_max));
    // 0.9766 + 0.0234 k / 4096 = (9766 x 4096 + 234 k) / (10000 x 4096)
    write(to, "acos_table_high_res", "round(acos(0.9766 + 0.0234 k / 4096) 2^31)", 4097,
          q31(arc_cosine, 234, 9766L * 4096, 10000L * 4096, u32_max));
    write(to, "atan_table", "round(atan(k / 1024) 2^31)", 4097,
          q31(arc_tangent, 1, 0, 1024, u32_max));
    write(to, "atan_table_low_res", "round(atan(k / 128) 2^31)", 4097,
          q31(arc_tangent, 1, 0, 128, u32_max));
    write(to, "cos_sin_table", "pairs round(cos, sin(2 pi k / 512) 2^15), saturated", 2 * 257,
          cos_sin_entry);
}

void write_powers(const std::string &to) {
    write(to, "log2_table", "round(log2(1 + k / 256) 2^31), saturated", 257,
          q31(binary_log, 1, 256, 256, s32_max));
    write(to, "inv_sqrt_table", "round(2^30 / sqrt(0.5 + k / 128))", 65,
          [](long k) { return nearest([=](mpfr_ptr x) { inverse_root(x, 64 + k, 128); }, 30); });
    write(to, "log2_of_knots", "round(log2(65536 / floor(2^22 / (64 + k))) 2^62)", 65, [](long k) {
        const long reciprocal = (1L << 22) / (64 + k);
        return nearest([=](mpfr_ptr x) { binary_log(x, 65536, reciprocal); }, 62);
    });
    write(to, "powers_of_two", "round(2^(k / 64) 2^62)", 64,
          [](long k) { return nearest([=](mpfr_ptr x) { power_of_two(x, k, 64); }, 62); });
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fputs("usage: math_tables DIRECTORY\n", stderr);
        return 1;
    }
    write_trigonometry(argv[1]);
    write_powers(argv[1]);
    return 0;
}
