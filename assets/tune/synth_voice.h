// synth_voice.h - the subtractive voice: unison oscillators, a resonant filter that an envelope opens, an
// amplifier
#pragma once

#include "envelope.h"
#include "voice.h"

enum class Wave { saw, pulse };

// The settings of one sound.
struct Patch {
    Wave wave = Wave::saw;
    int unison = 1;      // oscillators
    float detune = 0;    // semitones between the outermost of them
    float width = 0;     // how far they spread across the stereo picture, 0..1
    float pulse = 0.5f;  // high part of a pulse's period
    float sub = 0;       // level of a sine one octave below
    float octave = 0;    // level of a saw one octave above
    float breath = 0;    // level of noise
    Adsr amplifier = {0.005f, 0.3f, 0.8f, 0.1f};
    float cutoff = 2000;     // Hz at the pitch of c4
    float tracking = 0.5f;   // how far the cutoff follows the pitch, 0..1
    float resonance = 0.1f;  // 0..1
    float opening = 0;       // octaves that the envelope and full velocity open the filter
    Adsr filter = {0.002f, 0.2f, 0.0f, 0.2f};
    float sweepHertz = 0;    // slow movement of the cutoff ...
    float sweepOctaves = 0;  // ... and how far it goes
    float vibratoHertz = 0;
    float vibratoDepth = 0;  // semitones, fading in over VIBRATO_DELAY
    float glide = 0.06f;     // seconds that a slide takes
    float drive = 1;         // gain into the soft clipper; 1 leaves it out
    float level = 0.5f;
};

void playSynth(const Instrument& instrument, const Note& note, Stereo& out);
