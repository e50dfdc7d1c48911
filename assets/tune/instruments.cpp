// The instruments by name, and the settings of the synthesizer's sounds. Change a number here, rebuild,
// listen.

#include "drum_voices.h"
#include "synth_voice.h"
#include "tone_voices.h"
#include "voice.h"

#include <array>

namespace {

constexpr Patch PAD = {.unison = 6,
                       .detune = 0.34f,
                       .width = 1.0f,
                       .octave = 0.15f,
                       .amplifier = {0.35f, 1.0f, 0.85f, 1.4f},
                       .cutoff = 1300,
                       .tracking = 0.4f,
                       .opening = 1.6f,
                       .filter = {0.8f, 2.0f, 0.5f, 1.0f},
                       .sweepHertz = 0.13f,
                       .sweepOctaves = 0.35f,
                       .level = 0.30f};

// Opens over its note: for beginnings.
constexpr Patch SWELL = {.unison = 7,
                         .detune = 0.30f,
                         .width = 1.0f,
                         .octave = 0.15f,
                         .amplifier = {0.25f, 1.0f, 1.0f, 1.2f},
                         .cutoff = 320,
                         .tracking = 0.3f,
                         .resonance = 0.35f,
                         .opening = 4.2f,
                         .filter = {5.3f, 3.0f, 1.0f, 1.0f},
                         .level = 0.30f};

constexpr Patch STRINGS = {.unison = 5,
                           .detune = 0.22f,
                           .width = 1.0f,
                           .amplifier = {0.12f, 0.8f, 0.85f, 0.5f},
                           .cutoff = 3600,
                           .tracking = 0.5f,
                           .opening = 0.8f,
                           .filter = {0.3f, 1.0f, 0.6f, 0.5f},
                           .vibratoHertz = 5.2f,
                           .vibratoDepth = 0.08f,
                           .level = 0.26f};

constexpr Patch BASS = {.wave = Wave::saw,
                        .unison = 2,
                        .detune = 0.12f,
                        .sub = 0.6f,
                        .amplifier = {0.003f, 0.25f, 0.75f, 0.06f},
                        .cutoff = 520,
                        .tracking = 0.6f,
                        .resonance = 0.35f,
                        .opening = 3.0f,
                        .filter = {0.002f, 0.22f, 0.15f, 0.1f},
                        .drive = 2.0f,
                        .level = 0.75f};

constexpr Patch REESE = {.wave = Wave::saw,
                         .unison = 5,
                         .detune = 0.55f,
                         .width = 0.9f,
                         .sub = 0.3f,
                         .amplifier = {0.004f, 0.4f, 0.9f, 0.08f},
                         .cutoff = 1000,
                         .tracking = 0.4f,
                         .resonance = 0.3f,
                         .opening = 1.8f,
                         .filter = {0.01f, 0.5f, 0.4f, 0.1f},
                         .sweepHertz = 1.5f,
                         .sweepOctaves = 0.9f,
                         .drive = 2.0f,
                         .level = 0.7f};

constexpr Patch STAB = {.unison = 7,
                        .detune = 0.36f,
                        .width = 1.0f,
                        .octave = 0.30f,
                        .amplifier = {0.002f, 0.35f, 0.45f, 0.16f},
                        .cutoff = 2600,
                        .tracking = 0.4f,
                        .resonance = 0.15f,
                        .opening = 2.4f,
                        .filter = {0.002f, 0.28f, 0.2f, 0.2f},
                        .level = 0.34f};

constexpr Patch LEAD = {.unison = 5,
                        .detune = 0.20f,
                        .width = 0.8f,
                        .sub = 0.25f,
                        .octave = 0.30f,
                        .amplifier = {0.006f, 0.6f, 0.75f, 0.18f},
                        .cutoff = 3600,
                        .tracking = 0.5f,
                        .resonance = 0.2f,
                        .opening = 1.8f,
                        .filter = {0.004f, 0.5f, 0.35f, 0.3f},
                        .vibratoHertz = 5.8f,
                        .vibratoDepth = 0.16f,
                        .glide = 0.07f,
                        .drive = 1.3f,
                        .level = 0.5f};

constexpr Patch WHISTLE = {.wave = Wave::pulse,
                           .unison = 3,
                           .detune = 0.10f,
                           .width = 0.5f,
                           .pulse = 0.35f,
                           .amplifier = {0.02f, 0.6f, 0.8f, 0.25f},
                           .cutoff = 3000,
                           .tracking = 0.7f,
                           .resonance = 0.15f,
                           .opening = 1.0f,
                           .filter = {0.05f, 0.8f, 0.5f, 0.3f},
                           .vibratoHertz = 5.4f,
                           .vibratoDepth = 0.18f,
                           .level = 0.4f};

constexpr Patch SIREN = {.unison = 3,
                         .detune = 0.45f,
                         .width = 0.6f,
                         .octave = 0.35f,
                         .amplifier = {0.01f, 0.5f, 0.85f, 0.12f},
                         .cutoff = 2400,
                         .tracking = 0.5f,
                         .resonance = 0.55f,
                         .opening = 1.4f,
                         .filter = {0.05f, 0.4f, 0.5f, 0.2f},
                         .sweepHertz = 3.0f,
                         .sweepOctaves = 0.7f,
                         .vibratoHertz = 6.0f,
                         .vibratoDepth = 0.25f,
                         .glide = 0.12f,
                         .drive = 2.2f,
                         .level = 0.4f};

constexpr Patch ARP = {.wave = Wave::pulse,
                       .unison = 2,
                       .detune = 0.08f,
                       .width = 0.8f,
                       .pulse = 0.2f,
                       .amplifier = {0.001f, 0.22f, 0.12f, 0.14f},
                       .cutoff = 2000,
                       .tracking = 0.6f,
                       .resonance = 0.3f,
                       .opening = 2.8f,
                       .filter = {0.001f, 0.12f, 0.05f, 0.1f},
                       .level = 0.5f};

constexpr Patch CHIP = {.wave = Wave::pulse,
                        .unison = 1,
                        .pulse = 0.125f,
                        .amplifier = {0.001f, 0.3f, 0.5f, 0.05f},
                        .cutoff = 9000,
                        .tracking = 0.5f,
                        .opening = 1.0f,
                        .filter = {0.001f, 0.2f, 0.3f, 0.1f},
                        .vibratoHertz = 6.0f,
                        .vibratoDepth = 0.12f,
                        .level = 0.35f};

constexpr Patch PLUCK = {.unison = 3,
                         .detune = 0.16f,
                         .width = 0.7f,
                         .amplifier = {0.001f, 0.5f, 0.0f, 0.3f},
                         .cutoff = 1000,
                         .tracking = 0.7f,
                         .resonance = 0.25f,
                         .opening = 3.6f,
                         .filter = {0.001f, 0.3f, 0.0f, 0.2f},
                         .level = 0.55f};

constexpr std::array INSTRUMENTS = {
    Instrument{"kick", playKick, nullptr},       Instrument{"heavykick", playHeavyKick, nullptr},
    Instrument{"snare", playSnare, nullptr},     Instrument{"heavysnare", playHeavySnare, nullptr},
    Instrument{"clap", playClap, nullptr},       Instrument{"hat", playHat, nullptr},
    Instrument{"openhat", playOpenHat, nullptr}, Instrument{"crash", playCrash, nullptr},
    Instrument{"tom", playTom, nullptr},         Instrument{"impact", playImpact, nullptr},
    Instrument{"riser", playRiser, nullptr},     Instrument{"reverse", playReverse, nullptr},
    Instrument{"bell", playBell, nullptr},       Instrument{"keys", playKeys, nullptr},
    Instrument{"growl", playGrowl, nullptr},     Instrument{"rollgrowl", playRollingGrowl, nullptr},
    Instrument{"sub", playSub, nullptr},         Instrument{"pad", playSynth, &PAD},
    Instrument{"swell", playSynth, &SWELL},      Instrument{"strings", playSynth, &STRINGS},
    Instrument{"bass", playSynth, &BASS},        Instrument{"reese", playSynth, &REESE},
    Instrument{"stab", playSynth, &STAB},        Instrument{"lead", playSynth, &LEAD},
    Instrument{"whistle", playSynth, &WHISTLE},  Instrument{"siren", playSynth, &SIREN},
    Instrument{"arp", playSynth, &ARP},          Instrument{"chip", playSynth, &CHIP},
    Instrument{"pluck", playSynth, &PLUCK},
};

}  // namespace

const Instrument* findInstrument(const std::string& name) {
    for (const Instrument& instrument : INSTRUMENTS)
        if (name == instrument.name) return &instrument;
    return nullptr;
}
