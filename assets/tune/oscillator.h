// oscillator.h - band-limited saw and pulse waves
//
// A phase runs from 0 to 1 per period; `step` is frequency / sample rate. The jumps of the naive waves are
// smoothed over the two samples around them by the polynomial band-limited step (PolyBLEP; Valimaki and
// Huovilainen, "Antialiasing Oscillators in Subtractive Synthesis", 2007), which keeps aliases well below the
// music.
#pragma once

// The correction near a falling jump at phase 0.
inline float blep(float phase, float step) {
    if (phase < step) {
        const float x = phase / step;
        return x + x - x * x - 1.0f;
    }
    if (phase > 1.0f - step) {
        const float x = (phase - 1.0f) / step;
        return x * x + x + x + 1.0f;
    }
    return 0.0f;
}

inline float sawAt(float phase, float step) { return 2.0f * phase - 1.0f - blep(phase, step); }

// `width` is the part of the period that is high, 0..1.
inline float pulseAt(float phase, float step, float width) {
    float fall = phase + 1.0f - width;
    if (fall >= 1.0f) fall -= 1.0f;
    const float square = (phase < width ? 1.0f : -1.0f) + blep(phase, step) - blep(fall, step);
    return square - (2.0f * width - 1.0f);  // no DC at any width
}

inline void advance(float& phase, float step) {
    phase += step;
    if (phase >= 1.0f) phase -= 1.0f;
}
