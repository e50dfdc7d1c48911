// The clock against simulated devices, of which the test knows what is heard. Time is a number here, so every case
// gives the same result on every machine.
#include "play_clock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

namespace {

constexpr double RATE = 44100;
constexpr int BUFFER = 1024;
constexpr std::int64_t MS = 1'000'000;  // nanoseconds
constexpr std::int64_t TICK_NS = MS / 4;
constexpr std::int64_t LONG = std::int64_t{1} << 40;  // frames

double inMs(double frames) { return frames / RATE * 1000; }

// Hardware with a queue: it plays what it holds at its own speed and asks for `burst` buffers once they fit.
struct Device {
    const char* name;
    double speed = 1;    // its crystal against monotonic time
    int depth = 2;       // buffers in the queue
    int burst = 1;       // buffers asked for at once
    int latenessMs = 0;  // a request comes up to so late, at random
};

struct Simulation {
    Device device;
    PlayClock clock = startClock(RATE, BUFFER, true);
    std::int64_t now = 0;
    bool gone = false;        // the device asks for nothing
    std::int64_t dueNs = -1;  // the request that is on its way; -1: none
    double played = 0;        // device frames that have left the speaker
    std::int64_t given = 0;   // device frames that it got
    std::int64_t streamEnd = 0;
    int cuts = 0;  // how often the stream did not go on where it was
    std::mt19937 random{1};

    Simulation(const Device& kind, bool paused) : device(kind) { clockPlay(clock, 0, LONG, paused); }

    // The stream's frame that is heard; its first while that is still on its way.
    double heard() const { return std::max(played + static_cast<double>(streamEnd - given), 0.0); }

    void request() {
        const auto [first, silent] = clockRequest(clock, now, BUFFER);
        given += BUFFER;
        if (silent == BUFFER) return;
        cuts += first == streamEnd ? 0 : 1;
        streamEnd = first + BUFFER - silent;
    }

    void tick() {
        now += TICK_NS;
        const double step = RATE * device.speed * static_cast<double>(TICK_NS) / 1e9;
        played = std::min(played + step, static_cast<double>(given));
        while (!gone && static_cast<double>(given) - played <= double{BUFFER} * (device.depth - device.burst)) {
            if (dueNs < 0)
                dueNs = now + std::uniform_int_distribution<std::int64_t>(0, device.latenessMs * MS)(random);
            if (now < dueNs) return;
            dueNs = -1;
            for (int i = 0; i < device.burst; ++i) request();
        }
    }

    // Runs for a time in which the position must never go back nor move faster than time does, but for the bend.
    // Returns how far it is from what is heard at the worst, in milliseconds.
    double run(double milliseconds) {
        double worst = 0;
        double last = positionMs();
        for (const std::int64_t end = now + static_cast<std::int64_t>(milliseconds * MS); now < end;) {
            tick();
            const double step = positionMs() - last;
            if (step < 0 || step > 1.006 * TICK_NS / MS) ADD_FAILURE() << "step of " << step << " ms at " << now;
            last = positionMs();
            worst = std::max(worst, std::abs(last - inMs(heard())));
        }
        return worst;
    }

    double positionMs() { return inMs(clockPosition(clock, now)); }
};

// As close as the most punctual request of a second tells, and the bend in the second after it.
constexpr double CLOSE_MS = 2;

void follow(const Device& device) {
    SCOPED_TRACE(device.name);
    Simulation simulation(device, true);
    simulation.run(500);
    EXPECT_EQ(simulation.positionMs(), 0);
    clockResume(simulation.clock, simulation.now);
    EXPECT_LT(simulation.run(10000), 25);
    EXPECT_LT(simulation.run(60000), CLOSE_MS);
    for (int i = 1; i <= 20; ++i) {
        clockPause(simulation.clock, simulation.now);
        const double stand = simulation.positionMs();
        simulation.run(7.25 * i);
        EXPECT_EQ(simulation.positionMs(), stand);
        clockResume(simulation.clock, simulation.now);
        EXPECT_EQ(simulation.positionMs(), stand);
        simulation.run(400);  // the queue's silence is through
        EXPECT_LT(simulation.run(300), CLOSE_MS);
    }
    EXPECT_EQ(simulation.cuts, 0);

    for (const std::int64_t target : {9'000'000, 0, 44'100}) {
        clockSeek(simulation.clock, simulation.now, target);
        EXPECT_EQ(clockPosition(simulation.clock, simulation.now), static_cast<double>(target));
        simulation.run(2000);
        EXPECT_LT(simulation.run(10), device.latenessMs + CLOSE_MS);
    }

    // It is gone: the position keeps the time. It is back: the sound is where the position is.
    simulation.gone = true;
    const double before = simulation.positionMs();
    simulation.run(3000);
    EXPECT_NEAR(simulation.positionMs() - before, 3000, 15);
    clockSeek(simulation.clock, simulation.now, 44'100);
    simulation.run(3000);
    EXPECT_NEAR(simulation.positionMs(), 4000, 15);
    simulation.gone = false;
    simulation.run(2000);
    EXPECT_LT(simulation.run(5000), CLOSE_MS);
    EXPECT_NEAR(simulation.positionMs(), 11000, 50);

    // Our process does not run for a while: the position goes on from about where it was.
    const double stopped = simulation.positionMs();
    simulation.now += 5000 * MS;
    simulation.played = static_cast<double>(simulation.given);
    EXPECT_NEAR(simulation.positionMs(), stopped, std::max(51.0, inMs(BUFFER) * device.depth));
    simulation.run(4000);
    EXPECT_LT(simulation.run(1000), CLOSE_MS);
}

TEST(PlayClock, FollowsEveryDeviceThroughPausesSeeksAndItsAbsence) {
    follow({.name = "double buffer"});
    follow({.name = "late requests", .latenessMs = 15});
    follow({.name = "fast crystal", .speed = 1.0005, .latenessMs = 3});
    follow({.name = "deep queue", .depth = 4, .latenessMs = 5});
    follow({.name = "several buffers at once", .depth = 8, .burst = 4, .latenessMs = 5});
}

TEST(PlayClock, WaitsForADeviceThatTakesAWhileToBegin) {
    Simulation simulation({.name = "slow start"}, false);
    simulation.tick();
    simulation.gone = true;
    simulation.run(500);
    EXPECT_LE(simulation.positionMs(), inMs(static_cast<double>(simulation.given)));
    simulation.gone = false;
    simulation.run(3000);
    EXPECT_EQ(simulation.cuts, 0);
}

}  // namespace
