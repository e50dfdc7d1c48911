// noise.h - an mp3 file for tests, and what a position must do in time
#pragma once

#include "command.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

// Makes `seconds` of loud noise that never repeats, so that any two places differ. Returns the file's path.
inline std::string noiseMp3(const TempDir& folder, const std::string& name, int seconds, int rate, int channels) {
    const std::string path = folder.path() / name, source = "anoisesrc=a=0.5:c=pink:seed=7:";
    EXPECT_EQ(run("ffmpeg -v error -f lavfi -i " + source + "r=" + std::to_string(rate) +
                  ":d=" + std::to_string(seconds) + " -ac " + std::to_string(channels) + " " + path)
                  .status,
              0);
    return path;
}

constexpr double TOLERANCE_MS = 5;  // how far a position may be off

using Clock = std::chrono::steady_clock;
inline double msSince(Clock::time_point time) {
    return std::chrono::duration<double, std::milli>(Clock::now() - time).count();
}

// Sampled every millisecond for `ms`, the position (in ms) never goes back, never jumps and keeps the time.
template <typename Position>
void expectSmooth(double ms, Position position) {
    const Clock::time_point asked = Clock::now();
    double last = position();
    const double ahead = last + TOLERANCE_MS;
    const Clock::time_point answered = Clock::now();
    const double behind = last - TOLERANCE_MS;
    while (msSince(asked) < ms) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const double least = behind + msSince(answered), now = position();
        ASSERT_GE(now, last);
        ASSERT_GT(now, least);
        ASSERT_LT(now, ahead + msSince(asked));
        last = now;
    }
}
