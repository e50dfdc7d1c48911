// filter.h - resonant and plain filters
//
// The resonant one is the two-pole state-variable filter in its topology-preserving form (Zavalishin, "The
// Art of VA Filter Design"): stable while its cutoff sweeps. The caller keeps one state per channel.
#pragma once

#include "audio.h"

#include <algorithm>

// Coefficients for one cutoff, shared by the channels.
struct Cutoff {
    float g, k, a;
};
// hertz is limited to what the sample rate can do; resonance from 0 (none) to below 1 (rings).
inline Cutoff cutoffAt(float hertz, float resonance) {
    const float g = std::tan(0.5f * TURN * std::clamp(hertz, 10.0f, 0.45f * SAMPLE_RATE) * SAMPLE_TIME);
    const float k = 2.0f - 1.98f * resonance;
    return {g, k, 1.0f / (1.0f + g * (g + k))};
}

struct Resonator {
    float band, low;  // the two integrators
};
struct Bands {
    float low, band, high;
};
inline Bands filtered(Resonator& state, const Cutoff& cutoff, float in) {
    const float high = (in - (cutoff.g + cutoff.k) * state.band - state.low) * cutoff.a;
    const float band = cutoff.g * high + state.band;
    const float low = cutoff.g * band + state.low;
    state.band = cutoff.g * high + band;
    state.low = cutoff.g * band + low;
    return {low, band, high};
}

// One pole, 6 dB an octave; `state` is the low-passed signal.
inline float onePoleFactor(float hertz) { return 1.0f - std::exp(-TURN * hertz * SAMPLE_TIME); }
inline float lowPassed(float& state, float factor, float in) { return state += factor * (in - state); }
inline float highPassed(float& state, float factor, float in) { return in - lowPassed(state, factor, in); }
