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
    double speed = 1;       // its crystal against monotonic time
    int depth = 2;          // buffers in the queue
    int burst = 1;          // buffers asked for at once
    double latenessMs = 0;  // a request comes up to so late, at random
    int silence = 0;        // frames of it that are in the queue before the first request
};

struct Simulation {
    Device device;
    PlayClock clock = startClock(RATE, BUFFER, true);
    std::int64_t now = 0;
    std::int64_t frozenUntil = 0;  // our process does not run, the device plays what it has
    std::int64_t dueNs = -1;       // the request that is on its way; -1: none
    double played = 0;             // device frames that have left the speaker
    std::int64_t ahead = 0;        // the stream's number of the frame handed over last, less the device's
    std::int64_t streamEnd = 0;    // the stream's frame after the one handed over last
    int cuts = 0;                  // how often the stream did not go on with that one
    std::mt19937 random{1};

    // The stream's frame that is heard; its first while that is still on its way.
    double heard() const { return std::max(played + static_cast<double>(ahead), 0.0); }

    bool asks() {
        const double queued = static_cast<double>(clock.handed) - played;
        if (dueNs < 0 && queued <= double{BUFFER} * (device.depth - device.burst)) {
            const double share = static_cast<double>(random()) / static_cast<double>(std::mt19937::max());
            dueNs = now + static_cast<std::int64_t>(device.latenessMs * share * MS);
        }
        return dueNs >= 0 && now >= dueNs && now >= frozenUntil;
    }

    void request() {
        const std::int64_t first = clock.stream;
        const int silent = clockRequest(clock, now, BUFFER);
        if (silent == BUFFER) return;
        if (first != streamEnd) ++cuts;
        streamEnd = first + BUFFER - silent;
        ahead = streamEnd - clock.handed;
    }

    void tick() {
        now += TICK_NS;
        const double step = RATE * device.speed * static_cast<double>(TICK_NS) / 1e9;
        played = std::min(played + step, static_cast<double>(clock.handed));
        while (asks()) {
            dueNs = -1;
            for (int i = 0; i < device.burst; ++i) request();
        }
    }

    // Runs for a time in which the position must never go back nor move faster than time does, but for the bend.
    // Returns how far it is from what is heard at the worst, in milliseconds.
    double run(double milliseconds) {
        const std::int64_t end = now + static_cast<std::int64_t>(milliseconds * MS);
        double worst = 0;
        double last = clockPosition(clock, now);
        while (now < end) {
            tick();
            const double position = clockPosition(clock, now);
            const double step = inMs(position - last);
            if (step < 0 || step > 1.006 * TICK_NS / MS) ADD_FAILURE() << "step of " << step << " ms at " << now;
            worst = std::max(worst, std::abs(inMs(position - heard())));
            last = position;
        }
        return worst;
    }

    double positionMs() const { return inMs(clockPosition(clock, now)); }
};

Simulation playing(const Device& device, bool paused = false) {
    Simulation simulation;
    simulation.device = device;
    simulation.played = -device.silence;
    clockPlay(simulation.clock, 0, LONG, paused);
    return simulation;
}

constexpr Device DEVICES[] = {
    {.name = "double buffer"},
    {.name = "late requests", .latenessMs = 15},
    {.name = "fast crystal", .speed = 1.0005, .latenessMs = 3},
    {.name = "slow crystal", .speed = 0.9995, .latenessMs = 3},
    {.name = "silence first", .latenessMs = 2, .silence = BUFFER},
    {.name = "deep queue", .depth = 4, .latenessMs = 5},
    {.name = "several buffers at once", .depth = 8, .burst = 4, .latenessMs = 5},
};

// As close as the most punctual request of a second tells, and the bend in the second after it.
constexpr double CLOSE_MS = 2;

TEST(PlayClock, StaysWithWhatIsHeardFromEveryKindOfDevice) {
    for (const Device& device : DEVICES) {
        SCOPED_TRACE(device.name);
        Simulation simulation = playing(device);
        EXPECT_LT(simulation.run(10000), 16);
        EXPECT_LT(simulation.run(120000), CLOSE_MS);
    }
}

TEST(PlayClock, StandsWhileADeviceStarvesAndGoesOnWithIt) {
    for (const Device& device : DEVICES) {
        SCOPED_TRACE(device.name);
        Simulation simulation = playing(device);
        simulation.run(10000);
        simulation.frozenUntil = simulation.now + 2000 * MS;
        EXPECT_LT(simulation.run(2000), CLOSE_MS);
        EXPECT_LT(simulation.run(10000), CLOSE_MS);
    }
}

TEST(PlayClock, PausesAndResumesWithoutAStepOrAGapInTheStream) {
    for (const Device& device : DEVICES) {
        SCOPED_TRACE(device.name);
        Simulation simulation = playing(device, true);
        simulation.run(500);
        EXPECT_EQ(simulation.positionMs(), 0);
        clockResume(simulation.clock, simulation.now);
        simulation.run(10000);
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
    }
}

TEST(PlayClock, StandsAtTheTargetOfASeekUntilItIsHeard) {
    for (const Device& device : DEVICES) {
        SCOPED_TRACE(device.name);
        Simulation simulation = playing(device);
        for (const std::int64_t target : {9'000'000, 0, 44'100, 43'000}) {
            simulation.run(2017);
            clockSeek(simulation.clock, simulation.now, target);
            EXPECT_EQ(clockPosition(simulation.clock, simulation.now), static_cast<double>(target));
            simulation.run(1000);
            const double queueMs = inMs(BUFFER) * device.depth;
            EXPECT_GE(simulation.positionMs(), inMs(static_cast<double>(target)) + 990 - queueMs - device.latenessMs);
            EXPECT_LT(simulation.run(5), device.latenessMs + CLOSE_MS);
        }
    }
}

TEST(PlayClock, GoesOnInTimeFromWhereADeviceWasLostAndJoinsOneThatComesBack) {
    Simulation simulation = playing(DEVICES[0]);
    simulation.run(5000);
    simulation.frozenUntil = simulation.now + 3000 * MS;
    simulation.run(1000);
    const double stand = simulation.positionMs();
    clockLeaveDevice(simulation.clock, simulation.now);
    simulation.run(1000);
    EXPECT_NEAR(simulation.positionMs() - stand, 1000, 1e-6);
    clockPause(simulation.clock, simulation.now);
    simulation.run(500);
    clockResume(simulation.clock, simulation.now);
    simulation.run(250);
    EXPECT_NEAR(simulation.positionMs() - stand, 1250, 1e-6);

    clockJoinDevice(simulation.clock, simulation.now);
    simulation.frozenUntil = 0;
    simulation.run(1000);
    EXPECT_LT(simulation.run(5000), CLOSE_MS);
    EXPECT_NEAR(simulation.positionMs() - stand, 7250, 1.5 * inMs(BUFFER));
}

TEST(PlayClock, TakesNoNoticeOfRequestsThatFollowNoHardware) {
    for (const double speed : {0.5, 1.0, 20.0}) {
        Simulation simulation = playing({.name = "sleeps", .speed = speed, .latenessMs = 5});
        simulation.clock = startClock(RATE, BUFFER, false);
        clockPlay(simulation.clock, 0, LONG, false);
        simulation.tick();
        const double start = simulation.positionMs();
        simulation.run(500);
        EXPECT_NEAR(simulation.positionMs() - start, 500, 10);
        clockSeek(simulation.clock, simulation.now, 0);
        simulation.run(5000);
        EXPECT_NEAR(simulation.positionMs(), 5000, 1e-6);
    }
}

TEST(PlayClock, StandsAtTheEndAndPlaysOnAfterASeekBack) {
    Simulation simulation = playing(DEVICES[1]);
    simulation.clock.length = 44100;
    simulation.run(2000);
    EXPECT_EQ(clockPosition(simulation.clock, simulation.now), 44100);
    EXPECT_EQ(simulation.clock.stream, 44100);
    clockPause(simulation.clock, simulation.now);
    clockResume(simulation.clock, simulation.now);
    simulation.run(100);
    EXPECT_EQ(clockPosition(simulation.clock, simulation.now), 44100);
    clockSeek(simulation.clock, simulation.now, 22050);
    simulation.run(200);
    EXPECT_GT(simulation.positionMs(), 600);
    EXPECT_LT(simulation.positionMs(), 700);
}

}  // namespace
