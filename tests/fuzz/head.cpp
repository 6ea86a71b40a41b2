/*
 * Heads with words that are wrong here and there, between guard pages: what opens may be asked for
 * anything, without a look outside of its bytes, and answers the same on every isa.
 */
#include "../head/made_head.hpp"
#include "fuzz.hpp"

namespace earshot::fuzz {
namespace {

test::made_head &sound_head(bool with_channels) {
    static test::made_head with(0, 25), without(0);
    return with_channels ? with : without;
}

class head_calls {
  public:
    head_calls(operands &operands, transcript &transcript) : in_(operands), out_(transcript) {}

    void run() {
        test::made_head &sound = sound_head(in_.flip());
        const u32 words = static_cast<u32>(sound.size() / sizeof(u32));
        const bool repaired = in_.flip();
        const u32 there = in_.below(16) == 0 ? in_.below(words) : words;
        const guarded<u32> bytes(there);
        std::memcpy(bytes.data(), sound.bytes(), there * sizeof(u32));
        for (u32 edits = in_.below(8); edits > 0; --edits) edit(bytes, sound);
        if (there > 4 && repaired)
            bytes[3] = checksum_of(reinterpret_cast<unsigned char *>(&bytes[4]),
                                   (there - 4) * sizeof(u32));
        const earshot_head *head = nullptr;
        const u32 status =
            out_.add_status(earshot_head_open(bytes.data(), there * sizeof(u32), &head), {0, 2});
        require((head != nullptr) == (status == 0), "a head is opened or refused");
        if (head != nullptr) ask(head);
        require(bytes.intact(), "a head is not written to");
    }

  private:
    /* In the section that is meant, or the header's first words. */
    void edit(const guarded<u32> &bytes, test::made_head &sound) {
        const auto *begin = reinterpret_cast<const u32 *>(sound.bytes());
        const head_sections s = sound.sections();
        const u32 starts[] = {0,
                              32,
                              u32(reinterpret_cast<const u32 *>(s.triangles) - begin),
                              u32(s.nearby - begin),
                              u32(reinterpret_cast<const u32 *>(s.channels) - begin),
                              u32(reinterpret_cast<const u32 *>(s.records) - begin)};
        const u32 at = starts[in_.below(6)] + (in_.flip() ? in_.below(64) : in_.take<u16>());
        const u32 kind = in_.below(4), value = in_.take<u32>();
        if (at >= static_cast<u32>(bytes.end() - bytes.begin())) return;
        u32 &word = bytes[at];
        word = kind == 0   ? value
               : kind == 1 ? value % 256
               : kind == 2 ? word + value % 8 - 4
                           : word ^ 1u << value % 32;
    }

    void ask(const earshot_head *head) {
        earshot_head_info info;
        out_.add_status(earshot_head_describe(head, &info), {0});
        out_.add(info.name, std::strlen(info.name));
        const earshot_filter_pair *channel = nullptr;
        if (out_.add_status(earshot_head_channel(head, in_.below(26), &channel), {0, 2}) == 0)
            out_.add(channel, 1);
        const guarded<earshot_filter_pair> pair(1);
        for (u32 i = 0; i < 16 && in_.are_left(); ++i) {
            const s32 azimuth = in_.take<s32>(), elevation = in_.take<s32>();
            out_.add_status(earshot_head_filter(head, azimuth, elevation, pair.data()), {0});
            out_.add(pair);
            require_bounded(pair[0]);
        }
    }

    static void require_bounded(const earshot_filter_pair &pair) {
        for (const auto &ear : pair.ear)
            for (u32 k = 0; k < filter_words; k += 2)
                require(std::hypot(ear[k], ear[k + 1]) <= pair.gain * 8192.0,
                        "a pair's gain is a bound");
    }

    operands &in_;
    transcript &out_;
};

} // namespace
} // namespace earshot::fuzz

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
    using namespace earshot::fuzz;
    same_on_every_isa(data, size, [](operands &in, transcript &out) { head_calls(in, out).run(); });
    return 0;
}
