// The clock against simulated devices, of which the test knows what is heard. Time is a number here, so every case
// gives the same result on every machine.
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

// A server that reads what it is given in pieces, beyond which a loudspeaker is so far away.
struct Device {
    double speed = 1;       // of its crystal
    double latencyMs = 0;   // from the server to the ear
    double piece = 1;       // frames that the server reads at a time
    double jitterMs = 0;    // of a report
    double nonsenseMs = 0;  // one report in fifty is so far off
    bool gone = false;      // takes nothing and reports nothing

    double played = 0;  // device frames that have left the server
    std::int64_t given = 0, nextReportNs = 0, streamEnd = 0;
    struct Part {
        double device, stream;  // from this device frame on the stream plays from there; -1: silence
    };
    std::vector<Part> parts = {};
    int cuts = 0;  // how often the stream did not go on where it was
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

    // The stream's place that is heard, in milliseconds; below 0: silence.
    double heardMs() const {
        const double frame = played - latencyMs * RATE / 1000;
        const auto next = std::ranges::upper_bound(parts, frame, {}, &Part::device);
        if (next == parts.begin() || std::prev(next)->stream < 0) return -1;
        return inMs(std::prev(next)->stream + frame - std::prev(next)->device);
    }

    // Runs for a time in which the position must never go back nor move faster than time does, but for the bend.
    // Returns how far it is from what is heard at the worst, in milliseconds.
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

void follow(Device device) {
    const double close = 3 + inMs(device.piece) / 10;
    SCOPED_TRACE(testing::Message() << device.latencyMs << ' ' << device.piece << ' ' << device.jitterMs);
    device.run(2500);
    EXPECT_TRUE(device.clock.joined);
    clockPlay(device.clock, device.now, std::int64_t{1} << 40, false);
    device.run(3000);
    EXPECT_LT(device.run(60000), close);
    for (int i = 1; i <= 20; ++i) {
        clockPause(device.clock, device.now);
        const double stand = device.positionMs();
        EXPECT_EQ(stand, inMs(static_cast<double>(device.streamEnd)));
        device.run(7 * i);
        clockResume(device.clock, device.now);
        EXPECT_EQ(device.positionMs(), stand);
        device.run(static_cast<std::int64_t>(device.latencyMs) + 300);
        EXPECT_LT(device.run(300), close);
    }
    EXPECT_EQ(device.cuts, 0);
    for (const std::int64_t target : {9'000'000, 0, 44'100}) {
        clockSeek(device.clock, device.now, target);
        EXPECT_EQ(clockPosition(device.clock, device.now), static_cast<double>(target));
        device.run(static_cast<std::int64_t>(device.latencyMs) + 300);
        EXPECT_LT(device.run(300), close);
    }

    // It is moved to another loudspeaker: the position keeps the time, the sound follows.
    for (const double latency : {device.latencyMs + 250, device.latencyMs}) {
        const double before = device.positionMs();
        device.latencyMs = latency;
        device.run(3000);
        EXPECT_NEAR(device.positionMs() - before, 3000, 20);
        EXPECT_LT(device.run(1000), close);
    }

    // It hangs, and goes on.
    device.gone = true;
    const double before = device.positionMs();
    device.run(3000);
    EXPECT_NEAR(device.positionMs() - before, 3000, 20);
    device.gone = false;
    device.run(3000);
    EXPECT_LT(device.run(1000), close);

    // It ends, and another comes.
    clockResetDevice(device.clock, device.now);
    device.gone = true;
    device.run(2000);
    clockSeek(device.clock, device.now, 44'100);
    EXPECT_NEAR(device.positionMs(), 1000, 0.1);
    device.run(2000);
    EXPECT_NEAR(device.positionMs(), 3000, 20);
    clockResetDevice(device.clock, device.now);
    device.gone = false;
    device.played = 0;
    device.given = 0;
    device.parts.clear();
    device.run(4000);
    EXPECT_LT(device.run(1000), close);

    // Our process does not run for a while: the position goes on from about where it was.
    const double stopped = device.positionMs();
    device.now += 5000 * MS;
    device.played = static_cast<double>(device.given);
    EXPECT_NEAR(device.positionMs(), stopped, 51 + inMs(BUFFER) + device.latencyMs);
    device.run(4000);
    EXPECT_LT(device.run(1000), close);
}

TEST(PlayClock, FollowsEveryDeviceThroughPausesSeeksMovesAndItsAbsence) {
    follow({});
    follow({.latencyMs = 40, .jitterMs = 2});
    follow({.speed = 1.0005, .latencyMs = 500});
    follow({.speed = 0.9995, .piece = 1024});
    follow({.latencyMs = 200, .piece = 256, .jitterMs = 1, .nonsenseMs = 900});
}

TEST(PlayClock, PlaysInTimeUntilADeviceComesAndThenFromThere) {
    Device device;
    device.gone = true;
    clockPlay(device.clock, 0, std::int64_t{1} << 40, false);
    device.run(5000);
    EXPECT_NEAR(device.positionMs(), 5000, 0.1);
    device.gone = false;
    device.run(1000);
    EXPECT_GT(device.heardMs(), 0);
    EXPECT_LT(device.run(1000), 3);
}

}  // namespace
