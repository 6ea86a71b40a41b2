// earshot join: pieces of a sound, one after the other, as one file with the same samples.

#include <memory>
#include <vector>

#include <CLI/App.hpp>

#include "commands/commands.hpp"
#include "commands/delivery.hpp"
#include "error.hpp"

namespace earshot_tool {

namespace {

struct join_options {
    std::vector<std::string> pieces;
    output_options output;
    verbosity talk;
};

// The pieces are alike and at least one.
class joined_pieces : public frame_source {
  public:
    explicit joined_pieces(std::vector<std::unique_ptr<audio_input>> pieces)
        : pieces_(std::move(pieces)) {}

    int channels() const override { return pieces_[0]->channels(); }
    int rate() const override { return pieces_[0]->rate(); }

    std::optional<s64> frames() const override {
        s64 sum = 0;
        for (const auto &piece : pieces_) {
            const auto length = piece->frames();
            if (!length) return std::nullopt;
            sum += *length;
        }
        return sum;
    }

    std::size_t read(s32 *interleaved, std::size_t frames) override {
        const auto width = static_cast<std::size_t>(channels());
        std::size_t got = 0;
        while (got < frames && now_ < pieces_.size()) {
            const std::size_t more = pieces_[now_]->read(interleaved + got * width, frames - got);
            got += more;
            if (got < frames) ++now_;
        }
        return got;
    }

  private:
    std::vector<std::unique_ptr<audio_input>> pieces_;
    std::size_t now_ = 0; // the piece that is read
};

std::string hertz(const audio_input &piece) { return std::to_string(piece.rate()) + " Hz"; }
std::string bits(const audio_input &piece) { return std::to_string(piece.width()) + " bits"; }

void require_alike(const audio_input &piece, const audio_input &first) {
    const auto differs = [&](const std::string &has, const std::string &first_has) {
        throw processing_error(piece.name(), "has " + has + ", " + first.name() + " has " +
                                                 first_has + "; pieces of one sound are alike");
    };
    if (piece.channels() != first.channels())
        differs(counted(static_cast<u64>(piece.channels()), "channel"),
                std::to_string(first.channels()));
    if (piece.rate() != first.rate()) differs(hertz(piece), hertz(first));
    if (piece.width() != first.width()) differs(bits(piece), bits(first));
}

std::vector<std::unique_ptr<audio_input>> open_pieces(const std::vector<std::string> &names,
                                                      const console &out) {
    std::vector<std::unique_ptr<audio_input>> pieces;
    std::size_t streams = 0;
    for (const std::string &name : names) {
        if (name == "-" && ++streams > 1)
            throw usage_error("join: only one piece can be standard input");
        const auto &piece = *pieces.emplace_back(std::make_unique<audio_input>(name));
        if (!piece.is_linear())
            throw processing_error(piece.name(), "is " + piece.format_text() +
                                                     ", not whole numbers that can be joined as "
                                                     "they are; make the pieces WAV or FLAC");
        require_alike(piece, *pieces[0]);
        out.detail(piece.name() + ": " + piece.description());
    }
    return pieces;
}

void check_output(const output_options &output) {
    if (is_lossy(choose_container(output.path, output.raw)))
        throw usage_error(output.path +
                          ": this format does not keep samples as they are; join to .wav or .flac, "
                          "and make another file of that");
}

void join(const join_options &options) {
    const console out(options.talk);
    check_output(options.output);
    auto pieces = open_pieces(options.pieces, out);
    const audio_input &first = *pieces[0];
    output_format format = format_for(options.output, first, first.channels(), first.rate());
    format.computed_width = format.width;
    joined_pieces whole(std::move(pieces));
    report(out, deliver(whole, options.output, format, out));
}

} // namespace

void add_join(CLI::App &app, action &chosen) {
    auto *command =
        add_command(app, "join", "Join pieces of a sound to one, with the same samples");
    auto options = std::make_shared<join_options>();
    command
        ->add_option("PIECE", options->pieces,
                     "Pieces in their order, alike in channels, rate and bits; - for standard "
                     "input")
        ->required()
        ->type_name("");
    add_output_file(*command, options->output);
    add_verbosity(*command, options->talk);
    command->callback([options, &chosen] { chosen = [options] { join(*options); }; });
}

} // namespace earshot_tool
