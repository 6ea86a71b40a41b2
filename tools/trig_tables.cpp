// Writes the trigonometric tables as DIRECTORY/*.inc: trig_tables DIRECTORY
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

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fputs("usage: trig_tables DIRECTORY\n", stderr);
        return 1;
    }
    const std::string directory = argv[1];
    using function = void (*)(mpfr_ptr, long, long);
    const auto q31 = [](function f, long step, long offset, long d, std::int64_t most) {
        return [=](long k) {
            return std::min(nearest([=](mpfr_ptr x) { f(x, offset + step * k, d); }, 31), most);
        };
    };
    write_table("trig_tables.cpp", directory, "sin_table",
                "round(sin(k pi / 8192) 2^31), saturated", 4097, q31(sine, 1, 0, 8192, s32_max));
    write_table("trig_tables.cpp", directory, "interp_table", "k 2^20, saturated", 2049,
                [](long k) { return std::min(std::int64_t{k} << 20, s32_max); });
    write_table("trig_tables.cpp", directory, "acos_table", "round(acos(k / 4096) 2^31)", 4097,
                q31(arc_cosine, 1, 0, 4096, u32_max));
    // 0.9766 + 0.0234 k / 4096 = (9766 x 4096 + 234 k) / (10000 x 4096)
    write_table("trig_tables.cpp", directory, "acos_table_high_res",
                "round(acos(0.9766 + 0.0234 k / 4096) 2^31)", 4097,
                q31(arc_cosine, 234, 9766L * 4096, 10000L * 4096, u32_max));
    write_table("trig_tables.cpp", directory, "atan_table", "round(atan(k / 1024) 2^31)", 4097,
                q31(arc_tangent, 1, 0, 1024, u32_max));
    write_table("trig_tables.cpp", directory, "atan_table_low_res", "round(atan(k / 128) 2^31)",
                4097, q31(arc_tangent, 1, 0, 128, u32_max));
    write_table("trig_tables.cpp", directory, "cos_sin_table",
                "pairs round(cos, sin(2 pi k / 512) 2^15), saturated", 2 * 257, cos_sin_entry);
    return 0;
}
