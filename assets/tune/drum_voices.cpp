#include "drum_voices.h"

#include "filter.h"
#include "oscillator.h"

#include <algorithm>
#include <array>

namespace {

// The part of the buffer that a sound of `seconds` from the note's start may fill.
struct Span {
    size_t start, samples;
};
Span spanOf(const Note& note, float seconds, const Stereo& out) {
    const auto start = std::min(out.left.size(), static_cast<size_t>(std::llround(note.start * SAMPLE_RATE)));
    return {start, std::min(out.left.size() - start, static_cast<size_t>(seconds * SAMPLE_RATE))};
}

Noise noiseOf(const Note& note) { return noiseFrom(static_cast<uint32_t>(std::llround(note.start * 1000)) + 17u); }

void addBoth(Stereo& out, size_t at, float sample) {
    out.left[at] += sample;
    out.right[at] += sample;
}

// A drum skin: a sine whose pitch falls from `from` to `to` Hz while it dies away, with a click at the front.
struct Skin {
    float from, to;    // Hz
    float bend, ring;  // seconds: fall of the pitch, of the level (60 dB each)
    float click;       // level of the stick's noise
    float drive;       // into the soft clipper
    float level;
};

void playSkin(const Skin& skin, const Note& note, Stereo& out) {
    const Span span = spanOf(note, skin.ring, out);
    const float bend = decayFactor(skin.bend), ring = decayFactor(skin.ring), snap = decayFactor(0.012f);
    float phase = 0, hertz = skin.from - skin.to, level = 1, click = skin.click;
    float dull = 0;
    Noise noise = noiseOf(note);
    for (size_t i = 0; i < span.samples; ++i) {
        phase += (skin.to + hertz) * SAMPLE_TIME;
        const float stick = click * highPassed(dull, 0.2f, nextNoise(noise));
        // Starts at the top of the wave: the attack is on the very first sample.
        const float body = level * sineOfTurns(phase + 0.1f);
        addBoth(out, span.start + i, note.velocity * skin.level * softClip(skin.drive * (body + stick)));
        hertz *= bend;
        level *= ring;
        click *= snap;
    }
}

constexpr Skin KICK = {260, 48, 0.11f, 0.40f, 0.9f, 1.5f, 0.95f};
constexpr Skin HEAVY_KICK = {360, 43, 0.10f, 0.55f, 1.2f, 1.9f, 1.0f};

// A snare: two modes of the skin under filtered noise of the wires.
struct Snare {
    float body, bodyRing;    // Hz of the lower mode, seconds
    float wires, wiresRing;  // Hz of the noise's centre, seconds
    float noise;             // level of the wires
    float level;
};
constexpr Snare SNARE = {205, 0.16f, 3600, 0.26f, 0.9f, 0.85f};
constexpr Snare HEAVY_SNARE = {175, 0.22f, 2200, 0.50f, 1.2f, 1.0f};

void playSnareOf(const Snare& snare, const Note& note, Stereo& out) {
    const Span span = spanOf(note, std::max(snare.bodyRing, snare.wiresRing), out);
    const float bodyRing = decayFactor(snare.bodyRing), wiresRing = decayFactor(snare.wiresRing),
                bend = decayFactor(0.08f);
    const Cutoff cutoff = cutoffAt(snare.wires, 0.25f);
    Noise noise = noiseOf(note);
    Resonator left{}, right{};
    float dullLeft = 0, dullRight = 0, body = 1, wires = snare.noise, phase = 0.08f, sweep = snare.body;
    const float brighten = onePoleFactor(500);
    for (size_t i = 0; i < span.samples; ++i) {
        phase += (snare.body + sweep) * SAMPLE_TIME;
        const float skin = body * (sineOfTurns(phase) + 0.5f * sineOfTurns(1.79f * phase));
        const float a = highPassed(dullLeft, brighten, nextNoise(noise)),
                    b = highPassed(dullRight, brighten, nextNoise(noise));
        const Bands l = filtered(left, cutoff, a), r = filtered(right, cutoff, b);
        const float gain = note.velocity * snare.level;
        out.left[span.start + i] += gain * softClip(0.6f * skin + wires * (l.band + 0.7f * l.high));
        out.right[span.start + i] += gain * softClip(0.6f * skin + wires * (r.band + 0.7f * r.high));
        body *= bodyRing;
        wires *= wiresRing;
        sweep *= bend;
    }
}

// Metal: six pulses at frequencies without a common root, as in the classic drum machines, plus hiss.
constexpr std::array<float, 6> METAL_HERTZ = {205.3f, 369.6f, 304.4f, 522.7f, 800.0f, 540.0f};

struct Metal {
    float scale;  // of the frequencies
    float floor;  // Hz below which nothing is left
    float ring;   // seconds
    float hiss;   // part of noise, 0..1
    float level;
};
constexpr Metal HAT = {2.1f, 7500, 0.09f, 0.55f, 0.55f};
constexpr Metal OPEN_HAT = {2.1f, 6500, 0.42f, 0.6f, 0.5f};
constexpr Metal CRASH = {2.6f, 3200, 2.6f, 0.75f, 0.55f};

struct MetalState {
    std::array<float, 6> phases{};
    std::array<float, 2> dull{}, duller{};
    Noise noise{};
};

std::array<float, 2> nextMetal(MetalState& state, const Metal& metal, float floorFactor) {
    float ringing = 0;
    for (size_t k = 0; k < METAL_HERTZ.size(); ++k) {
        const float step = METAL_HERTZ[k] * metal.scale * SAMPLE_TIME;
        ringing += pulseAt(state.phases[k], step, 0.5f) * (1.0f / 6);
        advance(state.phases[k], step);
    }
    std::array<float, 2> sides{};
    for (size_t side = 0; side < 2; ++side) {
        const float raw = (1 - metal.hiss) * 2 * ringing + metal.hiss * nextNoise(state.noise);
        sides[side] = highPassed(state.duller[side], floorFactor, highPassed(state.dull[side], floorFactor, raw));
    }
    return sides;
}

void playMetal(const Metal& metal, const Note& note, Stereo& out) {
    const Span span = spanOf(note, metal.ring, out);
    const float ring = decayFactor(metal.ring), floorFactor = onePoleFactor(metal.floor);
    MetalState state;
    state.noise = noiseOf(note);
    float level = note.velocity * metal.level;
    for (size_t i = 0; i < span.samples; ++i) {
        const std::array<float, 2> sides = nextMetal(state, metal, floorFactor);
        out.left[span.start + i] += level * sides[0];
        out.right[span.start + i] += level * sides[1];
        level *= ring;
    }
}

constexpr float TOM_RING = 0.5f;
constexpr float IMPACT_RING = 3.0f;
constexpr Skin IMPACT_SKIN = {120, 32, 1.2f, IMPACT_RING, 0.6f, 2.0f, 0.9f};

}  // namespace

void playKick(const Instrument&, const Note& note, Stereo& out) { playSkin(KICK, note, out); }
void playHeavyKick(const Instrument&, const Note& note, Stereo& out) { playSkin(HEAVY_KICK, note, out); }
void playSnare(const Instrument&, const Note& note, Stereo& out) { playSnareOf(SNARE, note, out); }
void playHeavySnare(const Instrument&, const Note& note, Stereo& out) { playSnareOf(HEAVY_SNARE, note, out); }
void playHat(const Instrument&, const Note& note, Stereo& out) { playMetal(HAT, note, out); }
void playOpenHat(const Instrument&, const Note& note, Stereo& out) { playMetal(OPEN_HAT, note, out); }
void playCrash(const Instrument&, const Note& note, Stereo& out) { playMetal(CRASH, note, out); }

// Four hands that do not quite meet, then the room.
void playClap(const Instrument&, const Note& note, Stereo& out) {
    constexpr std::array<float, 4> HANDS = {0.0f, 0.009f, 0.019f, 0.028f};
    const Span span = spanOf(note, 0.3f, out);
    const Cutoff cutoff = cutoffAt(1500, 0.45f);
    Noise noise = noiseOf(note);
    Resonator left{}, right{};
    const float slap = decayFactor(0.02f), room = decayFactor(0.3f);
    float level = 0, tail = 0.5f;
    size_t hand = 0;
    for (size_t i = 0; i < span.samples; ++i) {
        if (hand < HANDS.size() && i == static_cast<size_t>(HANDS[hand] * SAMPLE_RATE)) level = 1, ++hand;
        const float gain = 0.7f * note.velocity * (level + tail);
        out.left[span.start + i] += gain * filtered(left, cutoff, nextNoise(noise)).band;
        out.right[span.start + i] += gain * filtered(right, cutoff, nextNoise(noise)).band;
        level *= slap;
        tail *= room;
    }
}

void playTom(const Instrument&, const Note& note, Stereo& out) {
    const float hertz = hertzOfPitch(note.pitch);
    playSkin({2.2f * hertz, hertz, 0.25f, TOM_RING, 0.3f, 1.4f, 0.8f}, note, out);
}

void playImpact(const Instrument& instrument, const Note& note, Stereo& out) {
    playSkin(IMPACT_SKIN, note, out);
    playCrash(instrument, note, out);
    const Span span = spanOf(note, IMPACT_RING, out);
    Noise noise = noiseOf(note);
    Resonator left{}, right{};
    const float ring = decayFactor(IMPACT_RING), shut = decayFactor(1.4f);
    float level = 0.5f * note.velocity, hertz = 5000;
    Cutoff cutoff{};
    for (size_t i = 0; i < span.samples; ++i) {
        if (i % 32 == 0) cutoff = cutoffAt(120 + hertz, 0.2f);
        out.left[span.start + i] += level * filtered(left, cutoff, nextNoise(noise)).low;
        out.right[span.start + i] += level * filtered(right, cutoff, nextNoise(noise)).low;
        level *= ring;
        hertz *= shut;
    }
}

// Noise through a rising resonance over a climbing saw; loudest at the note's end, where it stops.
void playRiser(const Instrument&, const Note& note, Stereo& out) {
    const Span span = spanOf(note, static_cast<float>(note.length), out);
    Noise noise = noiseOf(note);
    Resonator left{}, right{};
    Cutoff cutoff{};
    float phase = 0, step = 0;
    for (size_t i = 0; i < span.samples; ++i) {
        const float progress = static_cast<float>(i) / static_cast<float>(span.samples);
        if (i % 32 == 0) {
            cutoff = cutoffAt(300 * std::exp2(5 * progress), 0.7f);
            step = hertzOfPitch(note.pitch + 24 * progress) * SAMPLE_TIME;
        }
        const float saw = 0.15f * sawAt(phase, step);
        advance(phase, step);
        const float tremble =
            0.75f + 0.25f * sineOfTurns(static_cast<float>(i) * SAMPLE_TIME * (3 + 9 * progress * progress));
        const float level = 0.5f * note.velocity * progress * progress * tremble;
        out.left[span.start + i] += level * (filtered(left, cutoff, nextNoise(noise)).band + saw);
        out.right[span.start + i] += level * (filtered(right, cutoff, nextNoise(noise)).band + saw);
    }
}

void playReverse(const Instrument&, const Note& note, Stereo& out) {
    const auto seconds = static_cast<float>(note.length);
    const Span span = spanOf(note, seconds, out);
    const float floorFactor = onePoleFactor(CRASH.floor), swell = 1.0f / decayFactor(seconds * 1.5f);
    MetalState state;
    state.noise = noiseOf(note);
    float level =
        note.velocity * CRASH.level * std::pow(decayFactor(seconds * 1.5f), static_cast<float>(span.samples));
    for (size_t i = 0; i < span.samples; ++i) {
        const std::array<float, 2> sides = nextMetal(state, CRASH, floorFactor);
        out.left[span.start + i] += level * sides[0];
        out.right[span.start + i] += level * sides[1];
        level *= swell;
    }
}
