#include "tone_voices.h"

#include "envelope.h"
#include "filter.h"
#include "oscillator.h"

#include <algorithm>

namespace {

struct Span {
    size_t start, held, samples;
};
Span spanOf(const Note& note, float release, const Stereo& out) {
    const auto start = std::min(out.left.size(), static_cast<size_t>(std::llround(note.start * SAMPLE_RATE)));
    const auto held = static_cast<size_t>(std::llround(note.length * SAMPLE_RATE));
    return {start, held, std::min(out.left.size() - start, held + static_cast<size_t>(release * SAMPLE_RATE))};
}

// Two-operator frequency modulation (Chowning, 1973) with a second, slightly detuned pair for width.
struct Fm {
    float ratio;             // modulator over carrier
    float index, indexRing;  // turns of deviation at full velocity, seconds until it is gone (60 dB)
    Adsr amplifier;
    float detune;  // semitones between the sides
    float level;
};
constexpr Fm BELL = {3.5f, 0.55f, 1.6f, {0.001f, 2.4f, 0.0f, 1.6f}, 0.08f, 0.5f};
constexpr Fm KEYS = {1.0f, 0.6f, 0.9f, {0.002f, 1.6f, 0.15f, 0.35f}, 0.05f, 0.5f};

void playFm(const Fm& fm, const Note& note, Stereo& out) {
    const Span span = spanOf(note, fm.amplifier.release, out);
    Envelope amplifier = startEnvelope(fm.amplifier);
    const float hertz = hertzOfPitch(note.pitch), spread = std::exp2(fm.detune * 0.5f / 12.0f);
    const float leftStep = hertz * spread * SAMPLE_TIME, rightStep = hertz / spread * SAMPLE_TIME;
    const float fade = decayFactor(fm.indexRing);
    float index = fm.index * note.velocity, left = 0, right = 0;
    for (size_t i = 0; i < span.samples; ++i) {
        const float level = fm.level * note.velocity * nextLevel(amplifier, i < span.held);
        out.left[span.start + i] += level * sineOfTurns(left + index * sineOfTurns(fm.ratio * left));
        out.right[span.start + i] += level * sineOfTurns(right + index * sineOfTurns(fm.ratio * right));
        left += leftStep;
        right += rightStep;
        index *= fade;
    }
}

// Wobbles a second: one per eighth note and one per triplet at 180 beats a minute.
constexpr float GROWL_HERTZ = 6.0f, ROLLING_HERTZ = 9.0f;
constexpr Adsr GROWL_AMPLIFIER = {0.003f, 0.2f, 0.85f, 0.06f};

// A saw and a deep FM tone, overdriven, through two formants that a slow wave opens and closes like a mouth.
// The velocity sets how wide it opens.
void growl(const Note& note, float wobble, Stereo& out) {
    const Span span = spanOf(note, GROWL_AMPLIFIER.release, out);
    Envelope amplifier = startEnvelope(GROWL_AMPLIFIER);
    Resonator low[2] = {}, high[2] = {};
    Cutoff lowFormant{}, highFormant{};
    float phase = 0, otherPhase = 0.37f, index = 0, step = 0;
    for (size_t i = 0; i < span.samples; ++i) {
        const float time = static_cast<float>(i) * SAMPLE_TIME;
        if (i % 16 == 0) {
            const float mouth = note.velocity * (0.5f - 0.5f * sineOfTurns(wobble * time + 0.25f));
            const float slid = std::min(1.0f, time / 0.05f);
            step = hertzOfPitch(note.from + (note.pitch - note.from) * slid) * SAMPLE_TIME;
            index = 0.15f + 0.9f * mouth;
            lowFormant = cutoffAt(380 + 1300 * mouth, 0.7f);
            highFormant = cutoffAt(1100 + 3600 * mouth * mouth, 0.75f);
        }
        const float deep =
            sineOfTurns(phase + index * sineOfTurns(2 * phase + 0.3f * index * sineOfTurns(5 * phase)));
        const float sides[2] = {softClip(1.6f * (deep + 0.5f * sawAt(phase, step))),
                                softClip(1.6f * (deep + 0.5f * sawAt(otherPhase, step * 1.004f)))};
        float voiced[2];
        for (int side = 0; side < 2; ++side) {
            const float lower = filtered(low[side], lowFormant, sides[side]).low;
            const float upper = filtered(high[side], highFormant, sides[side]).band;
            voiced[side] = softClip(1.2f * (0.5f * lower + 1.0f * upper));
        }
        const float level = 0.6f * nextLevel(amplifier, i < span.held);
        out.left[span.start + i] += level * voiced[0];
        out.right[span.start + i] += level * voiced[1];
        advance(phase, step);
        advance(otherPhase, step * 1.004f);
    }
}

}  // namespace

void playBell(const Instrument&, const Note& note, Stereo& out) { playFm(BELL, note, out); }
void playKeys(const Instrument&, const Note& note, Stereo& out) { playFm(KEYS, note, out); }
void playGrowl(const Instrument&, const Note& note, Stereo& out) { growl(note, GROWL_HERTZ, out); }
void playRollingGrowl(const Instrument&, const Note& note, Stereo& out) { growl(note, ROLLING_HERTZ, out); }

// A plain sine with a little third harmonic, for the lowest octave.
void playSub(const Instrument&, const Note& note, Stereo& out) {
    constexpr Adsr AMPLIFIER = {0.004f, 0.5f, 0.9f, 0.05f};
    const Span span = spanOf(note, AMPLIFIER.release, out);
    Envelope amplifier = startEnvelope(AMPLIFIER);
    float phase = 0, step = 0;
    for (size_t i = 0; i < span.samples; ++i) {
        if (i % 16 == 0) {
            const float slid = std::min(1.0f, static_cast<float>(i) * SAMPLE_TIME / 0.05f);
            step = hertzOfPitch(note.from + (note.pitch - note.from) * slid) * SAMPLE_TIME;
        }
        const float level = 0.7f * note.velocity * nextLevel(amplifier, i < span.held);
        const float sample = level * softClip(1.2f * sineOfTurns(phase));
        out.left[span.start + i] += sample;
        out.right[span.start + i] += sample;
        advance(phase, step);
    }
}
