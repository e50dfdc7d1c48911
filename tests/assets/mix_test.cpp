// The synthesizer, the effects and the encoder, on short pieces.
#include "effects.h"
#include "filter.h"
#include "mixer.h"
#include "mp3.h"
#include "mp3_decoder.h"
#include "oscillator.h"
#include "temp_dir.h"
#include "voice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

float peakOf(const std::vector<float>& samples) {
    float peak = 0;
    for (const float sample : samples) peak = std::max(peak, std::fabs(sample));
    return peak;
}

double energyOf(const std::vector<float>& samples, std::size_t from, std::size_t to) {
    double sum = 0;
    for (std::size_t i = from; i < to; ++i) sum += static_cast<double>(samples[i]) * static_cast<double>(samples[i]);
    return sum;
}

// The strength of one frequency in a signal.
double strengthAt(const std::vector<float>& samples, double hertz) {
    double re = 0, im = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double angle = 2 * 3.141592653589793 * hertz * static_cast<double>(i) / SAMPLE_RATE;
        re += static_cast<double>(samples[i]) * std::cos(angle);
        im += static_cast<double>(samples[i]) * std::sin(angle);
    }
    return 2 * std::hypot(re, im) / static_cast<double>(samples.size());
}

const char* const PIECE =
    "tempo 120\nlength 2\ntrack kick kick gain -3 ducks\ntrack a pad gain -6 duck 1 reverb 0.5\n"
    "track b lead gain -6 delay 0.5\ntrack c arp gain -9 pan -1\ntrack d hat\ntrack e growl gain -9\n"
    "pattern p 4\n  kick x...\n  a c4+e4+g4\n  b c5 - ~g5 -\n  c c4 e4 g4 c5 e5 g5 c6 g5\n"
    "  d xxxx\n  e c2 - - .\nsection s 0\nplay 4 p\n";

Stereo playPiece() {
    const TempDir folder;
    Score score;
    Stereo mix;
    EXPECT_TRUE(readScore(folder.write("piece.score", PIECE), score) && playScore(score, mix));
    return mix;
}

}  // namespace

TEST(Oscillators, HaveNoAliasesAndNoDc) {
    constexpr float STEP = 5000.0f / SAMPLE_RATE;
    std::vector<float> saw, pulse;
    float phase = 0;
    for (int i = 0; i < SAMPLE_RATE; ++i) {
        saw.push_back(sawAt(phase, STEP));
        pulse.push_back(pulseAt(phase, STEP, 0.2f));
        advance(phase, STEP);
    }
    EXPECT_NEAR(strengthAt(saw, 5000), 2 / 3.14159, 0.12);
    EXPECT_NEAR(std::accumulate(pulse.begin(), pulse.end(), 0.0) / SAMPLE_RATE, 0.0, 0.01);
    // The fifth harmonic folds down to 19.1 kHz, the seventh to 9.1 kHz; a naive saw has them at 0.13 and 0.09.
    EXPECT_LT(strengthAt(saw, SAMPLE_RATE - 25000), 0.05);
    EXPECT_LT(strengthAt(saw, SAMPLE_RATE - 35000), 0.015);
}

TEST(Filters, PassAndStopWhereTheyShould) {
    for (const auto& [hertz, low, high] : {std::array{100.0f, 1.0f, 0.0f}, std::array{10000.0f, 0.0f, 1.0f}}) {
        Resonator state{};
        const Cutoff cutoff = cutoffAt(1000, 0.3f);
        std::vector<float> lows, highs;
        for (int i = 0; i < 8820; ++i) {
            const Bands bands = filtered(state, cutoff, sineOfTurns(hertz * static_cast<float>(i) * SAMPLE_TIME));
            lows.push_back(bands.low);
            highs.push_back(bands.high);
        }
        EXPECT_NEAR(strengthAt(lows, static_cast<double>(hertz)), static_cast<double>(low), 0.05);
        EXPECT_NEAR(strengthAt(highs, static_cast<double>(hertz)), static_cast<double>(high), 0.05);
    }
}

TEST(Instruments, BeginOnTheirFirstSampleStayInTheBufferAndEndSilent) {
    for (const char* name :
         {"kick",  "heavykick", "snare", "heavysnare", "clap",    "hat",       "openhat", "crash", "tom",   "impact",
          "riser", "reverse",   "bell",  "keys",       "growl",   "rollgrowl", "sub",     "pad",   "swell", "strings",
          "bass",  "reese",     "stab",  "lead",       "whistle", "siren",     "arp",     "chip",  "pluck"}) {
        const Instrument* instrument = findInstrument(name);
        ASSERT_NE(instrument, nullptr) << name;
        constexpr std::size_t START = 1000;
        Stereo out = silence(6 * SAMPLE_RATE);
        const Note note{.track = 0,
                        .start = static_cast<double>(START) / SAMPLE_RATE,
                        .length = 0.5,
                        .pitch = 60,
                        .velocity = 1,
                        .from = 60};
        instrument->play(*instrument, note, out);
        EXPECT_EQ(peakOf({out.left.begin(), out.left.begin() + START}), 0.0f) << name;
        EXPECT_GT(peakOf(out.left), 0.05f) << name;
        EXPECT_LT(peakOf(out.left), 2.0f) << name;
        const auto last = static_cast<std::size_t>(5.5 * SAMPLE_RATE);
        EXPECT_LT(energyOf(out.left, last, out.left.size()), 1e-4) << name << " does not die away";

        // A note at the very end, and one beyond it, must not write outside.
        Stereo shortBuffer = silence(START + 10);
        instrument->play(*instrument, note, shortBuffer);
        instrument->play(*instrument, {.track = 0, .start = 1, .length = 0.5, .pitch = 60, .velocity = 1, .from = 60},
                         shortBuffer);
    }
    EXPECT_EQ(findInstrument("banjo"), nullptr);
}

TEST(Instruments, DrumsHitAtOnce) {
    for (const char* name : {"kick", "heavykick", "snare", "heavysnare", "hat", "crash", "impact"}) {
        const Instrument* instrument = findInstrument(name);
        Stereo out = silence(SAMPLE_RATE);
        instrument->play(*instrument, {.track = 0, .start = 0, .length = 0.2, .pitch = 60, .velocity = 1, .from = 60},
                         out);
        const std::vector<float> first(out.left.begin(), out.left.begin() + SAMPLE_RATE * 5 / 1000);
        EXPECT_GT(peakOf(first), 0.3f * peakOf(out.left)) << name;
    }
}

TEST(Mix, IsTheSameEveryTime) {
    const Stereo once = playPiece();
    EXPECT_GT(peakOf(once.left), 0.1f);
    for (int i = 0; i < 3; ++i) {
        const Stereo again = playPiece();
        EXPECT_TRUE(once.left == again.left && once.right == again.right) << "run " << i;
    }
}

TEST(Mix, UnknownInstrumentIsNamed) {
    Score score;
    score.tracks.push_back({.name = "a", .instrument = "banjo"});
    Stereo mix;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(playScore(score, mix));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[!] track \"a\": there is no instrument \"banjo\"\n");
}

TEST(Effects, KickDucksAndLetsGo) {
    Stereo kick = silence(SAMPLE_RATE);
    for (std::size_t i = 1000; i < 3000; ++i) kick.left[i] = 0.9f;
    const std::vector<float> gain = duckingGain(kick);
    EXPECT_EQ(gain[900], 1.0f);
    EXPECT_LT(gain[1500], 0.2f);
    EXPECT_GT(gain[3000 + SAMPLE_RATE / 2], 0.9f);
}

TEST(Effects, EchoesComeOnTimeAndSwapSides) {
    Stereo click = silence(SAMPLE_RATE);
    click.left[0] = 1;
    const Stereo wet = echoes(click, {0.25f, 0.5f, 100, 8000});
    const std::size_t step = SAMPLE_RATE / 4;
    EXPECT_LT(energyOf(wet.left, 0, step - 1) + energyOf(wet.right, 0, 2 * step - 1), 1e-9);
    EXPECT_GT(energyOf(wet.left, step, step + 100), 0.01);
    EXPECT_GT(energyOf(wet.right, 2 * step, 2 * step + 100), 0.001);
}

TEST(Effects, RoomFallsBySixtyDecibelsInItsDecay) {
    Stereo click = silence(4 * SAMPLE_RATE);
    click.left[0] = click.right[0] = 1;
    const Stereo wet = reverberation(click, {0.02f, 2.0f, 20, 18000});
    const auto tenth = static_cast<std::size_t>(SAMPLE_RATE / 10);
    const double early = energyOf(wet.left, 3 * tenth, 5 * tenth), late = energyOf(wet.left, 13 * tenth, 15 * tenth);
    EXPECT_NEAR(10 * std::log10(early / late), 30.0, 6.0);
}

TEST(Effects, MasterHoldsTheCeilingAndRemovesDc) {
    Stereo mix = silence(2 * SAMPLE_RATE);
    for (std::size_t i = 0; i < mix.left.size(); ++i) {
        const float loud = i > SAMPLE_RATE / 2 ? 3.0f : 0.05f;
        mix.left[i] = 0.2f + loud * sineOfTurns(static_cast<float>(i) * 0.011f);
        mix.right[i] = -mix.left[i];
    }
    master(mix, 1.5f, 0.7f);
    EXPECT_LE(peakOf(mix.left), 0.7001f);
    EXPECT_GT(peakOf(mix.left), 0.6f);
    const double mean = std::accumulate(mix.left.begin() + SAMPLE_RATE, mix.left.end(), 0.0) / SAMPLE_RATE;
    EXPECT_NEAR(mean, 0.0, 0.01);
}

TEST(Mp3, KeepsEverySampleInItsPlace) {
    constexpr std::size_t LENGTH = 100'001, AT = 30'000;
    Stereo mix = silence(LENGTH);
    for (std::size_t i = 0; i < 60; ++i)
        mix.left[AT + i] = mix.right[AT + i] = 0.8f * std::exp(-0.1f * static_cast<float>(i));
    const TempDir folder;
    const std::string path = folder.path() / "click.mp3";
    Score score;
    score.title = "Click";
    ASSERT_TRUE(writeMp3(mix, score, path));
    const Recording recording = decodeMp3(path);
    EXPECT_EQ(recording.title, "Click");
    ASSERT_EQ(recording.left.size(), LENGTH);
    const auto peak = std::max_element(recording.left.begin(), recording.left.end()) - recording.left.begin();
    EXPECT_NEAR(static_cast<double>(peak), static_cast<double>(AT), 3);
    EXPECT_FALSE(writeMp3(mix, score, "no/such/folder.mp3"));
}
