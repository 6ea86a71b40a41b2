// A scene for two ears, as a source of frames.
#pragma once

#include <deque>
#include <optional>
#include <vector>

#include "scene/description/scene.hpp"
#include "scene/rendering/binaural_stream.hpp"
#include "scene/rendering/source_chain.hpp"

namespace earshot_scenes {

// Bits by which samples of a scene have to be lowered, whatever its sounds are.
struct scene_headroom {
    int gain = 0; // by the sources' gains, so that none of them exceeds 1.0
    int guard =
        0; // by a table_engine, so that no sum wraps. The output is raised by them again, and
           // the noise of the engine's arithmetic with it: a single source at 0 dB has noise
           // of -118 dB, every bit adds 6 dB, and so does every fourfold number of sources
};

scene_headroom headroom_for(const scene &scene);

// What a stream of a scene is made of, before there is a stream.
struct scene_parts {
    // move: where the sources are, if not where the scene says.
    scene_parts(const scene &scene, const std::vector<frame_source *> &inputs, source_mover move);

    int headroom; // bits
    source_mover mover;
    std::deque<source_chain> chains;
    std::vector<frame_source *> sources; // the chains
};

// Frames are mostly 96 samples long: a read of so many pairs renders exactly one, from the first
// read on. Every 21st or so also reads the next 2048 samples of every input.
class scene_stream : private scene_parts, public binaural_stream {
  public:
    static constexpr std::size_t frame_length = 96;

    // inputs: the sound of every source of the scene, mono, at 48000 Hz, from its beginning on and
    // without its gain; of a source that loops, without end (looping_source.hpp). They and the
    // scene outlive the stream, and so does the engine, with frames of 96 samples, or of 128 where
    // nothing moves.
    //
    // Where all sources loop and the scene has no duration, the stream does not end.
    scene_stream(const scene &scene, const std::vector<frame_source *> &inputs,
                 binaural_engine &engine, source_mover move = {});
};

} // namespace earshot_scenes
