// effects.h - effects on whole tracks and on the mix: delay, reverb, ducking, the limiter
//
// All work on complete buffers, in place or into a result of the same length; none of them allocates more
// than a few seconds of delay lines on top.
#pragma once

#include "audio.h"

// A ping-pong delay: the echoes swap sides and lose their highs and lows as they go. Returns the echoes
// alone.
struct DelaySettings {
    float seconds;
    float feedback;        // 0..1, what is left after each round
    float floor, ceiling;  // Hz, the band that the echoes keep
};
Stereo echoes(const Stereo& dry, const DelaySettings& settings);

// A room: a feedback network of eight delay lines mixed by a Hadamard matrix (Jot and Chaigne, "Digital Delay
// Networks for Designing Artificial Reverberators", 1991). Returns the room alone.
struct ReverbSettings {
    float preDelay;        // seconds
    float decay;           // seconds until it is 60 dB down
    float floor, ceiling;  // Hz, the band that rings longest
};
Stereo reverberation(const Stereo& dry, const ReverbSettings& settings);

// Side chain: for each sample the gain, 0..1, that presses other tracks down while `key` is loud. Depth 1 of
// a track uses it as it is; smaller depths pull it towards 1.
std::vector<float> duckingGain(const Stereo& key);

// Brings the mix to its final level: removes frequencies below hearing, applies the gain, rounds peaks softly, and
// keeps the rest below `ceiling` (linear) with a look-ahead limiter, so that nothing clips.
void master(Stereo& mix, float gain, float ceiling);
