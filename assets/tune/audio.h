// audio.h - the sample format and the arithmetic that every part of the synthesizer shares
//
// Time is in seconds or samples, pitch in semitones of the MIDI scale (69 is the A of 440 Hz), levels are
// linear unless the name says dB. Nothing here keeps state outside the records it is given.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

constexpr int SAMPLE_RATE = 44100;
constexpr float SAMPLE_TIME = 1.0f / SAMPLE_RATE;
constexpr float TURN = 6.28318531f;  // radians

// Two channels of equal length, full scale at +-1.
struct Stereo {
    std::vector<float> left, right;
};

inline Stereo silence(size_t samples) { return {std::vector<float>(samples), std::vector<float>(samples)}; }

inline float gainOfDb(float dB) { return std::pow(10.0f, dB / 20.0f); }
inline float hertzOfPitch(float pitch) { return 440.0f * std::exp2((pitch - 69.0f) / 12.0f); }

// The per-sample factor with which a level falls by 60 dB in `seconds`.
inline float decayFactor(float seconds) { return std::exp(-6.9077553f / (seconds * SAMPLE_RATE)); }

// Sine of x turns, good to 4e-6: the Taylor series on a quarter turn, the same on every machine.
inline float sineOfTurns(float x) {
    x -= std::floor(x + 0.5f);
    if (x > 0.25f) x = 0.5f - x;
    if (x < -0.25f) x = -0.5f - x;
    const float y = TURN * x, z = y * y;
    return y * (1.0f - z / 6.0f * (1.0f - z / 20.0f * (1.0f - z / 42.0f * (1.0f - z / 72.0f))));
}

// A soft clipper: odd, slope 1 at 0, reaches +-1 at +-1.5 and stays there.
inline float softClip(float x) {
    if (x >= 1.5f) return 1.0f;
    if (x <= -1.5f) return -1.0f;
    return x - (4.0f / 27.0f) * x * x * x;
}

// White noise in -1..1, repeatable from its seed (Marsaglia's xorshift).
struct Noise {
    uint32_t state;
};
inline Noise noiseFrom(uint32_t seed) { return {(seed * 2654435761u) ^ 0x9e3779b9u}; }
inline float nextNoise(Noise& noise) {
    noise.state ^= noise.state << 13;
    noise.state ^= noise.state >> 17;
    noise.state ^= noise.state << 5;
    return static_cast<float>(static_cast<int32_t>(noise.state)) * (1.0f / 2147483648.0f);
}
