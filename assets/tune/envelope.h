// envelope.h - attack, decay, sustain, release
//
// Attack rises in a straight line, decay and release fall exponentially (60 dB in the given time), as
// capacitors do.
#pragma once

#include "audio.h"

struct Adsr {
    float attack, decay;  // seconds
    float sustain;        // level while the note is held, 0..1
    float release;        // seconds
};

struct Envelope {
    float level, sustain, rise, fall, release;
    bool attacking;
};

inline Envelope startEnvelope(const Adsr& shape) {
    return {0.0f,
            shape.sustain,
            1.0f / std::fmax(1.0f, shape.attack * SAMPLE_RATE),
            decayFactor(shape.decay),
            decayFactor(shape.release),
            true};
}

// The level of the next sample; `held` is false once the note is let go.
inline float nextLevel(Envelope& envelope, bool held) {
    if (!held) return envelope.level *= envelope.release;
    if (envelope.attacking) {
        envelope.level += envelope.rise;
        if (envelope.level >= 1.0f) {
            envelope.level = 1.0f;
            envelope.attacking = false;
        }
        return envelope.level;
    }
    return envelope.level = envelope.sustain + (envelope.level - envelope.sustain) * envelope.fall;
}
