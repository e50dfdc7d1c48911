// The clock against simulated devices, whose sound is known. Time is a number here, so results never differ.
#include "play_clock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr double RATE = 44100;
constexpr int PERIOD = 882, BUFFER = 4 * PERIOD;
constexpr std::int64_t MS = 1'000'000, TICK_NS = MS / 4;  // nanoseconds

double inMs(double frames) { return frames / RATE * 1000; }

// A server that reads in pieces what it is given, and a loudspeaker behind it.
struct Device {
    double speed = 1;       // of its clock
    double latencyMs = 0;   // from the server to the ear
    double piece = 1;       // frames that the server reads at a time
    double jitterMs = 0;    // of a report
    double nonsenseMs = 0;  // error of one report in fifty
    bool gone = false;      // takes nothing and reports nothing

    double played = 0;  // device frames that have left the server
    std::int64_t given = 0, nextReportNs = 0, streamEnd = 0;
    struct Part {
        double device, stream;  // the stream's frame that the device plays at its frame `device`; -1: silence
    };
    std::vector<Part> parts = {};
    int cuts = 0;  // gaps and repeats in the stream
    std::int64_t now = 0;
    PlayClock clock = startClock(RATE, 0);
    std::mt19937 random{1};

    double upTo(double limit) { return std::uniform_real_distribution<double>(0, limit)(random); }

    void take() {
        const auto [first, silent] = clockRequest(clock, now, PERIOD);
        const auto at = static_cast<double>(given);
        if (silent > 0) parts.push_back({at, -1});
        if (silent < PERIOD) {
            cuts += first == streamEnd ? 0 : 1;
            parts.push_back({at + silent, static_cast<double>(first)});
            streamEnd = first + PERIOD - silent;
        }
        given += PERIOD;
    }

    void report() {
        const double read = std::min(std::ceil(played / piece) * piece, static_cast<double>(given));
        const double off = upTo(jitterMs) + (random() % 50 == 0 ? nonsenseMs : 0);
        const double frames = read - (latencyMs + off) * RATE / 1000;
        if (frames >= 0) clockHeard(clock, now, frames);
        nextReportNs = now + static_cast<std::int64_t>((5 + upTo(20)) * MS);
    }

    void tick() {
        now += TICK_NS;
        played = std::min(played + RATE * speed * TICK_NS / 1e9, static_cast<double>(given));
        if (gone) return;
        while (static_cast<double>(given) - played <= BUFFER - PERIOD) take();
        if (now >= nextReportNs) report();
    }

    double positionMs() { return inMs(clockPosition(clock, now)); }

    // In the stream; below 0: silence.
    double heardMs() const {
        const double frame = played - latencyMs * RATE / 1000;
        const auto next = std::ranges::upper_bound(parts, frame, {}, &Part::device);
        if (next == parts.begin() || std::prev(next)->stream < 0) return -1;
        return inMs(std::prev(next)->stream + frame - std::prev(next)->device);
    }

    // Meanwhile the position never goes back, nor moves faster than time by more than the bend. Returns its greatest
    // distance from what is heard, in milliseconds.
    double run(std::int64_t milliseconds) {
        double worst = 0, last = positionMs();
        for (const std::int64_t end = now + milliseconds * MS; now < end;) {
            tick();
            const double position = positionMs();
            if (position < last || position - last > 1.006 * TICK_NS / MS)
                ADD_FAILURE() << last << " to " << position;
            last = position;
            if (heardMs() >= 0) worst = std::max(worst, std::abs(position - heardMs()));
        }
        return worst;
    }
};

void PrintTo(const Device& device, std::ostream* out) {
    *out << device.latencyMs << " ms away, pieces of " << device.piece << ", jitter " << device.jitterMs;
}

// A clock that plays on a device.
class PlayClockOn : public testing::TestWithParam<Device> {
protected:
    Device device = GetParam();

    PlayClockOn() {
        device.run(2500);
        EXPECT_TRUE(device.clock.joined);
        clockPlay(device.clock, device.now, std::int64_t{1} << 40, false);
        device.run(3000);
    }
    void expectInStep(std::int64_t afterMs, std::int64_t ms) {
        device.run(afterMs);
        EXPECT_LT(device.run(ms), 3 + inMs(device.piece) / 10);
    }
    void expectInStepOnceHeard() { expectInStep(static_cast<std::int64_t>(device.latencyMs) + 300, 300); }
    // The position goes on for three seconds, whatever the device does.
    void expectKeepsTheTime() {
        const double before = device.positionMs();
        device.run(3000);
        EXPECT_NEAR(device.positionMs() - before, 3000, 20);
    }
};

TEST_P(PlayClockOn, StaysInStep) {
    expectInStep(0, 60000);
    EXPECT_EQ(device.cuts, 0);
}

TEST_P(PlayClockOn, StandsInAPauseAndLosesNothing) {
    for (int i = 1; i <= 20; ++i) {
        clockPause(device.clock, device.now);
        const double stand = device.positionMs();
        EXPECT_EQ(stand, inMs(static_cast<double>(device.streamEnd)));
        device.run(7 * i);
        clockResume(device.clock, device.now);
        EXPECT_EQ(device.positionMs(), stand);
        expectInStepOnceHeard();
    }
    EXPECT_EQ(device.cuts, 0);
}

TEST_P(PlayClockOn, IsAtOnceWhereASeekLeads) {
    for (const std::int64_t target : {9'000'000, 0, 44'100}) {
        clockSeek(device.clock, device.now, target);
        EXPECT_EQ(clockPosition(device.clock, device.now), static_cast<double>(target));
        expectInStepOnceHeard();
    }
}

TEST_P(PlayClockOn, KeepsTheTimeWhenMovedToAnotherLoudspeaker) {
    for (const double latency : {device.latencyMs + 250, device.latencyMs}) {
        device.latencyMs = latency;
        expectKeepsTheTime();
        expectInStep(0, 1000);
    }
}

TEST_P(PlayClockOn, KeepsTheTimeWhileTheDeviceHangs) {
    device.gone = true;
    expectKeepsTheTime();
    device.gone = false;
    expectInStep(3000, 1000);
}

TEST_P(PlayClockOn, KeepsTheTimeUntilAnotherDeviceComes) {
    clockResetDevice(device.clock, device.now);
    device.gone = true;
    device.run(2000);
    clockSeek(device.clock, device.now, 44'100);
    EXPECT_NEAR(device.positionMs(), 1000, 0.1);
    expectKeepsTheTime();
    clockResetDevice(device.clock, device.now);
    device.gone = false;
    device.played = 0;
    device.given = 0;
    device.parts.clear();
    expectInStep(4000, 1000);
}

TEST_P(PlayClockOn, GoesOnAboutWhereItWasAfterTheProcessStood) {
    const double stopped = device.positionMs();
    device.now += 5000 * MS;
    device.played = static_cast<double>(device.given);
    EXPECT_NEAR(device.positionMs(), stopped, 51 + inMs(BUFFER) + device.latencyMs);
    expectInStep(4000, 1000);
}

INSTANTIATE_TEST_SUITE_P(Devices, PlayClockOn,
                         testing::Values(Device{}, Device{.latencyMs = 40, .jitterMs = 2},
                                         Device{.speed = 1.0005, .latencyMs = 500},
                                         Device{.speed = 0.9995, .piece = 1024},
                                         Device{.latencyMs = 200, .piece = 256, .jitterMs = 1, .nonsenseMs = 900}));

}  // namespace
