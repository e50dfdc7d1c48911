#include "synth_voice.h"

#include "filter.h"
#include "oscillator.h"

#include <algorithm>
#include <array>

namespace {

constexpr int MAX_UNISON = 9;
constexpr size_t CONTROL_STEP = 16;  // samples between updates of pitch and cutoff
constexpr float VIBRATO_DELAY = 0.25f;

struct Voice {
    float phase = 0, step = 0;
    float ratio = 1;            // detuning
    float left = 0, right = 0;  // gains
};

struct Oscillators {
    std::array<Voice, MAX_UNISON> voices;
    float subPhase = 0, subStep = 0;
    float octavePhase = 0, octaveStep = 0;
    Noise noise{};
};

Oscillators startOscillators(const Patch& patch, const Note& note) {
    Oscillators oscillators;
    oscillators.noise =
        noiseFrom(static_cast<uint32_t>(note.start * 1000.0) * 31u + static_cast<uint32_t>(note.pitch));
    const float share = 1.0f / std::sqrt(static_cast<float>(patch.unison));
    for (int i = 0; i < patch.unison; ++i) {
        // Spread -1..1 over the voices; a single one sits in the middle.
        const float spread =
            patch.unison > 1 ? 2.0f * static_cast<float>(i) / static_cast<float>(patch.unison - 1) - 1.0f : 0.0f;
        const float pan = patch.width * spread * (i % 2 == 0 ? 1.0f : -1.0f);
        Voice& voice = oscillators.voices[static_cast<size_t>(i)];
        voice.ratio = std::exp2(patch.detune * 0.5f * spread / 12.0f);
        voice.phase = patch.unison > 1 ? 0.5f + 0.5f * nextNoise(oscillators.noise) : 0.0f;
        voice.left = share * (1.0f - pan) * 0.5f;
        voice.right = share * (1.0f + pan) * 0.5f;
    }
    return oscillators;
}

void setPitch(Oscillators& oscillators, int unison, float pitch) {
    const float step = hertzOfPitch(pitch) * SAMPLE_TIME;
    for (int i = 0; i < unison; ++i) {
        Voice& voice = oscillators.voices[static_cast<size_t>(i)];
        voice.step = std::min(0.45f, step * voice.ratio);
    }
    oscillators.subStep = 0.5f * step;
    oscillators.octaveStep = std::min(0.45f, 2.0f * step);
}

struct Pair {
    float left, right;
};

Pair nextSample(Oscillators& oscillators, const Patch& patch) {
    Pair sum{0, 0};
    for (int i = 0; i < patch.unison; ++i) {
        Voice& voice = oscillators.voices[static_cast<size_t>(i)];
        const float wave =
            patch.wave == Wave::saw ? sawAt(voice.phase, voice.step) : pulseAt(voice.phase, voice.step, patch.pulse);
        advance(voice.phase, voice.step);
        sum.left += wave * voice.left;
        sum.right += wave * voice.right;
    }
    float middle = 0;
    if (patch.sub > 0) {
        middle += patch.sub * sineOfTurns(oscillators.subPhase);
        advance(oscillators.subPhase, oscillators.subStep);
    }
    if (patch.octave > 0) {
        middle += patch.octave * sawAt(oscillators.octavePhase, oscillators.octaveStep);
        advance(oscillators.octavePhase, oscillators.octaveStep);
    }
    if (patch.breath > 0) middle += patch.breath * nextNoise(oscillators.noise);
    return {sum.left + 0.5f * middle, sum.right + 0.5f * middle};
}

float pitchAt(const Patch& patch, const Note& note, float time) {
    const float slid = patch.glide > 0 ? std::min(1.0f, time / patch.glide) : 1.0f;
    const float vibrato = std::clamp((time - VIBRATO_DELAY) / VIBRATO_DELAY, 0.0f, 1.0f) * patch.vibratoDepth;
    return note.from + (note.pitch - note.from) * slid + vibrato * sineOfTurns(patch.vibratoHertz * time);
}

float cutoffHertz(const Patch& patch, const Note& note, float time, float opened) {
    const float octaves =
        patch.tracking * (note.pitch - 60.0f) / 12.0f + patch.opening * note.velocity * opened +
        patch.sweepOctaves * sineOfTurns(patch.sweepHertz * (time + static_cast<float>(note.start)));
    return patch.cutoff * std::exp2(octaves);
}

float driven(float x, float drive) { return drive > 1.0f ? softClip(x * drive) : x; }

}  // namespace

void playSynth(const Instrument& instrument, const Note& note, Stereo& out) {
    const Patch& patch = *instrument.patch;
    const auto start = static_cast<size_t>(std::llround(note.start * SAMPLE_RATE));
    const auto held = static_cast<size_t>(std::llround(note.length * SAMPLE_RATE));
    const size_t end = std::min(out.left.size() - std::min(start, out.left.size()),
                                held + static_cast<size_t>(patch.amplifier.release * SAMPLE_RATE));
    Oscillators oscillators = startOscillators(patch, note);
    Envelope amplifier = startEnvelope(patch.amplifier), filter = startEnvelope(patch.filter);
    Resonator left{}, right{};
    Cutoff cutoff{};
    const float level = patch.level * (0.25f + 0.75f * note.velocity * note.velocity);
    for (size_t i = 0; i < end; ++i) {
        const float opened = nextLevel(filter, i < held);
        if (i % CONTROL_STEP == 0) {
            const float time = static_cast<float>(i) * SAMPLE_TIME;
            setPitch(oscillators, patch.unison, pitchAt(patch, note, time));
            cutoff = cutoffAt(cutoffHertz(patch, note, time, opened), patch.resonance);
        }
        const Pair raw = nextSample(oscillators, patch);
        const float gain = level * nextLevel(amplifier, i < held);
        out.left[start + i] += gain * driven(filtered(left, cutoff, raw.left).low, patch.drive);
        out.right[start + i] += gain * driven(filtered(right, cutoff, raw.right).low, patch.drive);
    }
}
