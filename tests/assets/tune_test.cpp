// The soundtrack by measurement: length, level, and whether it falls together with the picture.
#include "mp3_decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdio>
#include <memory>
#include <numbers>
#include <string>

namespace {

constexpr int RATE = 44100;
constexpr double PICTURE_ENDS = 132.0;
constexpr double PULSE = 1.0 / 3;  // between two pulses of the floor

struct Span {
    double start, end;  // seconds
};
constexpr std::array<double, 7> CHANGES = {5.4, 10.4, 30.8, 61.2, 81.6, 106.6, 132.0};
constexpr std::array<Span, 3> GREETINGS = {{{10.4, 30.8}, {61.2, 81.6}, {106.6, 132.0}}};
constexpr std::array<Span, 2> WALLS = {{{30.8, 61.2}, {81.6, 106.6}}};

const Recording& tune() {
    static const Recording recording = decodeMp3("data/tune.mp3");
    return recording;
}

std::size_t sampleAt(double seconds) { return static_cast<std::size_t>(std::lround(seconds * RATE)); }

// Energies of the sum of all samples so far, so that the energy of any stretch is one subtraction.
std::vector<double> runningEnergy() {
    std::vector<double> sums{0.0};
    for (std::size_t i = 0; i < tune().left.size(); ++i) {
        const double l = tune().left[i], r = tune().right[i];
        sums.push_back(sums.back() + l * l + r * r);
    }
    return sums;
}

double levelDb(const std::vector<double>& sums, std::size_t from, std::size_t to) {
    return 10 * std::log10((sums[to] - sums[from]) / (2.0 * static_cast<double>(to - from)) + 1e-12);
}

// How much louder the 8 ms after a moment are than the 8 ms before it: greatest where a sound begins.
double onset(const std::vector<double>& sums, std::size_t at) {
    constexpr std::size_t REACH = RATE * 8 / 1000;
    return levelDb(sums, at, at + REACH) - levelDb(sums, at - REACH, at);
}

// The program's own measuring instrument, by its report.
std::string loudnessReport() {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(
        popen("ffmpeg -nostdin -hide_banner -i data/tune.mp3 -af ebur128=peak=true -f null - 2>&1", "r"), pclose);
    std::string report;
    std::array<char, 4096> piece{};
    while (std::fgets(piece.data(), piece.size(), pipe.get())) report += piece.data();
    return report;
}

double lastNumberAfter(const std::string& report, const std::string& label) {
    const std::size_t at = report.rfind(label);
    if (at == std::string::npos) return std::nan("");
    return std::atof(report.c_str() + at + label.size());
}

// In-place radix-2 transform of a power-of-two length.
void fourier(std::vector<std::complex<double>>& values) {
    const std::size_t n = values.size();
    for (std::size_t i = 1, j = 0; i < n; ++i) {
        std::size_t bit = n >> 1;
        for (; j & bit; bit >>= 1) j ^= bit;
        j ^= bit;
        if (i < j) std::swap(values[i], values[j]);
    }
    for (std::size_t length = 2; length <= n; length *= 2)
        for (std::size_t i = 0; i < n; i += length)
            for (std::size_t k = 0; k < length / 2; ++k) {
                const auto turn =
                    std::polar(1.0, -2 * std::numbers::pi * static_cast<double>(k) / static_cast<double>(length));
                const auto even = values[i + k], odd = values[i + k + length / 2] * turn;
                values[i + k] = even + odd;
                values[i + k + length / 2] = even - odd;
            }
}

// Mean energy of each octave from `lowest` Hz on within a span, dB.
template <std::size_t COUNT>
std::array<double, COUNT> octaves(Span span, double lowest) {
    constexpr std::size_t WINDOW = 8192;
    std::array<double, COUNT> sums{};
    for (std::size_t at = sampleAt(span.start); at + WINDOW < sampleAt(span.end); at += 4 * WINDOW) {
        std::vector<std::complex<double>> window(WINDOW);
        for (std::size_t i = 0; i < WINDOW; ++i) {
            const double hann = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * static_cast<double>(i) / WINDOW);
            window[i] = hann * static_cast<double>(tune().left[at + i] + tune().right[at + i]);
        }
        fourier(window);
        for (std::size_t i = 1; i < WINDOW / 2; ++i) {
            const double octave = std::log2(static_cast<double>(i) * RATE / WINDOW / lowest);
            if (octave >= 0 && octave < static_cast<double>(COUNT))
                sums[static_cast<std::size_t>(octave)] += std::norm(window[i]);
        }
    }
    for (double& sum : sums) sum = 10 * std::log10(sum + 1e-12);
    return sums;
}

}  // namespace

TEST(Tune, IsAsLongAsTheTimelineAndHasATitle) {
    ASSERT_EQ(tune().rate, RATE);
    EXPECT_EQ(tune().left.size(), tune().right.size());
    EXPECT_GE(static_cast<double>(tune().left.size()) / RATE, 190.0);
    EXPECT_FALSE(tune().title.empty());
}

TEST(Tune, IsLoudButNeverClips) {
    const std::string report = loudnessReport();
    const double loudness = lastNumberAfter(report, "I:"), peak = lastNumberAfter(report, "Peak:");
    EXPECT_GE(loudness, -16.0) << report;
    EXPECT_LE(loudness, -12.0) << report;
    EXPECT_LE(peak, -1.0) << report;

    double left = 0, right = 0;
    float highest = 0;
    for (std::size_t i = 0; i < tune().left.size(); ++i) {
        left += tune().left[i];
        right += tune().right[i];
        highest = std::max({highest, std::fabs(tune().left[i]), std::fabs(tune().right[i])});
    }
    const auto samples = static_cast<double>(tune().left.size());
    EXPECT_LT(highest, 1.0f);
    EXPECT_GT(highest, 0.5f) << "most of the range is unused";
    EXPECT_NEAR(left / samples, 0.0, 1e-3);
    EXPECT_NEAR(right / samples, 0.0, 1e-3);
}

TEST(Tune, IsNeverSilentUnderThePictureAndQuietAfterIt) {
    constexpr double SILENT_DB = -50, HALF_SECOND = 0.5, STEP = 0.05;
    const std::vector<double> sums = runningEnergy();
    for (double t = 0; t + HALF_SECOND <= PICTURE_ENDS; t += STEP)
        EXPECT_GT(levelDb(sums, sampleAt(t), sampleAt(t + HALF_SECOND)), SILENT_DB) << "at " << t << " s";
    for (double t = 142; t + 8 < 190; t += 8) {
        const double level = levelDb(sums, sampleAt(t), sampleAt(t + 8));
        EXPECT_GT(level, -65.0) << "at " << t << " s";
        EXPECT_LT(level, -30.0) << "at " << t << " s";
    }
}

TEST(Tune, SectionsBeginWithTheScenes) {
    const std::vector<double> sums = runningEnergy();
    for (const double change : CHANGES) {
        const std::size_t from = sampleAt(change - 0.15), to = sampleAt(change + 0.15);
        std::size_t best = from;
        for (std::size_t at = from; at < to; at += 16)
            if (onset(sums, at) > onset(sums, best)) best = at;
        EXPECT_NEAR(static_cast<double>(best) / RATE, change, 0.015);
        EXPECT_GT(onset(sums, best), 6.0) << "nothing begins at " << change << " s";
    }
}

// All onsets of a greetings scene, folded onto one pulse of its floor, must pile up where the pulse begins.
TEST(Tune, BeatsFallOnThePulsesOfTheFloor) {
    constexpr std::size_t STEP = 32;  // samples
    constexpr auto STEPS = static_cast<std::size_t>(PULSE * RATE / STEP);
    const std::vector<double> sums = runningEnergy();
    for (const Span& scene : GREETINGS) {
        std::vector<double> folded(STEPS, 0.0);
        const auto pulses = static_cast<int>((scene.end - scene.start) / PULSE) - 6;  // without the closing fill
        for (int pulse = 1; pulse < pulses; ++pulse)
            for (std::size_t i = 0; i < STEPS; ++i)
                folded[i] +=
                    std::max(0.0, onset(sums, sampleAt(scene.start + pulse * PULSE) - STEPS * STEP / 2 + i * STEP));
        const auto peak = static_cast<std::size_t>(std::max_element(folded.begin(), folded.end()) - folded.begin());
        const double late = (static_cast<double>(peak) - STEPS / 2.0) * STEP / RATE;
        EXPECT_NEAR(late, 0.0, 0.010) << "in the scene from " << scene.start << " s";
        EXPECT_GT(folded[peak] / pulses, 2.0) << "no beat in the scene from " << scene.start << " s";
    }
}

TEST(Tune, WallsAreHeavierThanGreetingsAndHaveNoHoleInTheirSpectrum) {
    constexpr double LOWEST = 40;  // Hz; eight octaves reach 10 kHz
    constexpr double HOLE_DB = 24;
    const std::vector<double> sums = runningEnergy();
    for (const Span& wall : WALLS) {
        const std::array<double, 8> levels = octaves<8>(wall, LOWEST);
        const double loudest = *std::max_element(levels.begin(), levels.end());
        for (std::size_t i = 0; i < levels.size(); ++i)
            EXPECT_GT(levels[i], loudest - HOLE_DB)
                << "from " << LOWEST * std::exp2(i) << " Hz in the wall from " << wall.start << " s";
        for (const Span& scene : GREETINGS)
            EXPECT_GT(levelDb(sums, sampleAt(wall.start), sampleAt(wall.end)),
                      levelDb(sums, sampleAt(scene.start), sampleAt(scene.end)));
    }
}
