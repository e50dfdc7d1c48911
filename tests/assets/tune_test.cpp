// The soundtrack by measurement: length, level, and whether it falls together with the picture.
#include "command.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int RATE = 44100;
constexpr double PULSE = 1.0 / 3;  // between two pulses of the floor

struct Span {
    double start, end;  // seconds
};
constexpr std::array<double, 7> CHANGES = {5.4, 10.4, 30.8, 61.2, 81.6, 106.6, 132.0};
constexpr std::array<Span, 3> GREETINGS = {{{10.4, 30.8}, {61.2, 81.6}, {106.6, 132.0}}};

std::size_t frameAt(double seconds) { return static_cast<std::size_t>(std::lround(seconds * RATE)); }

class Tune : public testing::Test {
protected:
    std::vector<float> samples;  // left and right in turn
    // Energy of all frames so far, so that the energy of any stretch is one subtraction.
    std::vector<double> sums{0.0};

    Tune() {
        const std::string bytes = run("ffmpeg -nostdin -v error -i data/tune.mp3 -f f32le -").output;
        samples.resize(bytes.size() / sizeof samples[0]);
        std::memcpy(samples.data(), bytes.data(), bytes.size());
        for (std::size_t i = 0; i < samples.size(); i += 2)
            sums.push_back(sums.back() + std::pow(samples[i], 2) + std::pow(samples[i + 1], 2));
    }

    double levelDb(std::size_t from, std::size_t to) const {
        return 10 * std::log10((sums[to] - sums[from]) / (2.0 * static_cast<double>(to - from)) + 1e-12);
    }
    double levelDb(Span span) const { return levelDb(frameAt(span.start), frameAt(span.end)); }

    // How much louder the 8 ms after a moment are than the 8 ms before it: greatest where a sound begins.
    double onset(std::size_t at) const {
        constexpr std::size_t REACH = RATE * 8 / 1000;
        return levelDb(at, at + REACH) - levelDb(at - REACH, at);
    }
};

// The number after the last `label` in what ffmpeg's `filter` reports about the tune.
double measured(const std::string& filter, const std::string& label) {
    const std::string command = "ffmpeg -nostdin -hide_banner -i data/tune.mp3 -af " + filter + " -f null - 2>&1";
    const std::string report = run(command).output;
    const std::size_t at = report.rfind(label);
    return at == std::string::npos ? std::nan("") : std::atof(report.c_str() + at + label.size());
}

TEST_F(Tune, IsLongerThanTheDemoAndInStereo) {
    EXPECT_EQ(run("ffprobe -v error -show_entries stream=sample_rate,channels -of csv=p=0 data/tune.mp3").output,
              "44100,2\n");
    EXPECT_GE(sums.size(), frameAt(190));
}

TEST_F(Tune, IsLoudButNeverClips) {
    EXPECT_NEAR(measured("ebur128", "I:"), -14.0, 2.0);
    EXPECT_LE(measured("ebur128=peak=true", "Peak:"), -1.0) << "the true peak, between samples as well";
}

TEST_F(Tune, IsNeverSilentUnderThePicture) {
    for (double t = 0; t + 0.5 <= CHANGES.back(); t += 0.05) EXPECT_GT(levelDb({t, t + 0.5}), -50) << t << " s";
}

TEST_F(Tune, SectionsBeginWithTheScenes) {
    for (const double change : CHANGES) {
        const std::size_t from = frameAt(change - 0.15), to = frameAt(change + 0.15);
        std::size_t best = from;
        for (std::size_t at = from; at < to; at += 16)
            if (onset(at) > onset(best)) best = at;
        EXPECT_NEAR(static_cast<double>(best) / RATE, change, 0.015);
        EXPECT_GT(onset(best), 6.0) << "nothing begins at " << change << " s";
    }
}

// All onsets of a greetings scene, folded onto one pulse of its floor, must pile up where the pulse begins.
TEST_F(Tune, BeatsFallOnThePulsesOfTheFloor) {
    constexpr std::size_t STEP = 32;  // frames
    constexpr auto STEPS = static_cast<std::size_t>(PULSE * RATE / STEP);
    for (const Span& scene : GREETINGS) {
        std::vector<double> folded(STEPS, 0.0);
        const auto pulses = static_cast<int>((scene.end - scene.start) / PULSE) - 6;  // without the closing fill
        for (int pulse = 1; pulse < pulses; ++pulse) {
            const std::size_t first = frameAt(scene.start + pulse * PULSE) - STEPS * STEP / 2;
            for (std::size_t i = 0; i < STEPS; ++i) folded[i] += std::max(0.0, onset(first + i * STEP));
        }
        const auto peak = std::max_element(folded.begin(), folded.end());
        const double late = (static_cast<double>(peak - folded.begin()) - STEPS / 2.0) * STEP / RATE;
        EXPECT_NEAR(late, 0.0, 0.010) << "in the scene from " << scene.start << " s";
        EXPECT_GT(*peak / pulses, 2.0) << "no beat in the scene from " << scene.start << " s";
    }
}

}  // namespace
