// Renderers as contestants: frame after frame of a scene, checked against the yardstick. A renderer
// is made of a scene and has render_frame() and output(ear).
#ifndef EARSHOT_BENCH_FRAMES_HPP
#define EARSHOT_BENCH_FRAMES_HPP

#if defined(EARSHOT_BENCH_FFTW)
#include "yardstick.hpp"
#endif
#include "scene.hpp"

namespace earshot_bench {

// What of every frame is compared.
enum class compared { all, last_sample };

// Frames enough for a crossfade to be among them.
template <class Renderer> buffer<double> samples_of_frames(const scene &s, compared what) {
    Renderer r(s);
    buffer<double> samples;
    for (unsigned frame = 0; frame < 3; ++frame) {
        r.render_frame();
        for (unsigned ear = 0; ear < 2; ++ear) {
            const buffer<double> part = converted<double>(r.output(ear));
            samples.insert(samples.end(), what == compared::all ? part.begin() : part.end() - 1,
                           part.end());
        }
    }
    return samples;
}

template <class Renderer>
contestant contestant_of(const std::string &name, const scene &s, compared what = compared::all) {
    const auto r = std::make_shared<Renderer>(s);
    contestant c;
    c.name = name;
    c.run = [=](unsigned calls) {
        for (unsigned i = 0; i < calls; ++i) r->render_frame();
    };
#if defined(EARSHOT_BENCH_FFTW)
    c.check = [=] {
        compare(samples_of_frames<Renderer>(s, what), 1, samples_of_frames<yardstick>(s, what));
    };
#else
    c.check = [] {}; // nothing to compare with
#endif
    return c;
}

} // namespace earshot_bench

#endif
