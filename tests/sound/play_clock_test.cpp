// The clock against simulated devices, of which the test knows what is heard. Time is a number here, so every case
// gives the same result on every machine.
#include "play_clock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

constexpr double RATE = 44100;
constexpr int BUFFER = 1024;
constexpr std::int64_t MS = 1'000'000, TICK_NS = MS / 4;  // nanoseconds

double inMs(double frames) { return frames / RATE * 1000; }

// Hardware with a queue: it plays what it holds and asks for `burst` buffers once they fit, up to so late at random.
struct Device {
    double speed = 1;  // of its crystal
    int depth = 2, burst = 1, latenessMs = 0;
    bool gone = false;                      // asks for nothing
    double played = 0;                      // device frames that have left the speaker
    std::int64_t given = 0, streamEnd = 0;  // device frames that it got; the stream's frame after the last
    std::int64_t dueNs = -1;                // the request that is on its way; -1: none
    int cuts = 0;                           // how often the stream did not go on where it was
    std::int64_t now = 0;
    PlayClock clock = startClock(RATE, BUFFER, true);
    std::mt19937 random{1};

    void request() {
        const auto [first, silent] = clockRequest(clock, now, BUFFER);
        given += BUFFER;
        if (silent == BUFFER) return;
        cuts += first == streamEnd ? 0 : 1;
        streamEnd = first + BUFFER - silent;
    }

    void tick() {
        now += TICK_NS;
        played = std::min(played + RATE * speed * TICK_NS / 1e9, static_cast<double>(given));
        while (!gone && static_cast<double>(given) - played <= double{BUFFER} * (depth - burst)) {
            if (dueNs < 0) dueNs = now + std::uniform_int_distribution<std::int64_t>(0, latenessMs * MS)(random);
            if (now < dueNs) return;
            dueNs = -1;
            for (int i = 0; i < burst; ++i) request();
        }
    }

    double positionMs() { return inMs(clockPosition(clock, now)); }

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
            worst = std::max(worst, std::abs(position - inMs(played + static_cast<double>(streamEnd - given))));
        }
        return worst;
    }
};

// As close as the most punctual request of a second tells, and the bend in the second after it.
constexpr double CLOSE_MS = 3;

void follow(Device device) {
    SCOPED_TRACE(testing::Message() << device.speed << ' ' << device.depth << ' ' << device.latenessMs);
    clockPlay(device.clock, 0, std::int64_t{1} << 40, false);
    device.run(10000);
    EXPECT_LT(device.run(60000), CLOSE_MS);
    for (int i = 1; i <= 20; ++i) {
        clockPause(device.clock, device.now);
        const double stand = device.positionMs();
        for (int tick = 0; tick < 29 * i; ++tick) device.tick();
        clockResume(device.clock, device.now);
        EXPECT_EQ(device.positionMs(), stand);
        device.run(400);  // the queue's silence is through
        EXPECT_LT(device.run(300), CLOSE_MS);
    }
    EXPECT_EQ(device.cuts, 0);
    for (const std::int64_t target : {9'000'000, 0, 44'100}) {
        clockSeek(device.clock, device.now, target);
        EXPECT_EQ(clockPosition(device.clock, device.now), static_cast<double>(target));
        device.run(5000);
        EXPECT_LT(device.run(10), device.latenessMs + CLOSE_MS);
    }

    // It is gone: the position keeps the time. It is back: the sound is where the position is.
    device.gone = true;
    const double before = device.positionMs();
    device.run(3000);
    EXPECT_NEAR(device.positionMs() - before, 3000, 15);
    clockSeek(device.clock, device.now, 44'100);
    device.run(3000);
    EXPECT_NEAR(device.positionMs(), 4000, 15);
    device.gone = false;
    device.run(2000);
    EXPECT_LT(device.run(5000), CLOSE_MS);

    // Our process does not run for a while: the position goes on from about where it was.
    const double stopped = device.positionMs();
    device.now += 5000 * MS;
    device.played = static_cast<double>(device.given);
    EXPECT_NEAR(device.positionMs(), stopped, std::max(51.0, inMs(BUFFER) * device.depth));
    device.run(4000);
    EXPECT_LT(device.run(1000), CLOSE_MS);
}

TEST(PlayClock, FollowsEveryDeviceThroughPausesSeeksAndItsAbsence) {
    follow({});
    follow({.latenessMs = 15});
    follow({.speed = 1.0005, .latenessMs = 3});
    follow({.depth = 8, .burst = 4, .latenessMs = 5});
}

TEST(PlayClock, WaitsForADeviceThatTakesAWhileToBegin) {
    Device device;
    clockPlay(device.clock, 0, std::int64_t{1} << 40, false);
    device.tick();
    device.gone = true;
    device.run(500);
    device.gone = false;
    device.run(3000);
    EXPECT_EQ(device.cuts, 0);
}

}  // namespace
