// noise.h - an mp3 file for tests, and what a position must do in time
#pragma once

#include "command.h"
#include "mp3_stream.h"
#include "temp_dir.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

// Makes `seconds` of loud noise that never repeats, so that any two places differ. Returns the file's path.
inline std::string noiseMp3(const TempDir& folder, int seconds, int rate = 44100, int channels = 2) {
    const std::string path = folder.path() / (std::to_string(rate) + ".mp3");
    const std::string source = "anoisesrc=a=0.5:c=pink:seed=7:r=" + std::to_string(rate);
    run("ffmpeg -v error -f lavfi -i " + source + " -t " + std::to_string(seconds) + " -ac " +
        std::to_string(channels) + " " + path);
    return path;
}

// Every sample of the file, interleaved.
inline std::vector<std::int16_t> decoded(const std::string& path) {
    Mp3Stream stream;
    EXPECT_EQ(openMp3(path.c_str(), stream), Mp3Open::Ok);
    std::vector<std::int16_t> samples(static_cast<std::size_t>(stream.frames * stream.channels));
    for (std::size_t at = 0; at < samples.size();)
        at += static_cast<std::size_t>(readMp3(stream, std::span(samples).subspan(at)) * stream.channels);
    closeMp3(stream);
    return samples;
}

// The last bit of a sample depends on what the decoder has decoded before.
inline bool sameSample(std::int16_t a, std::int16_t b) { return std::abs(a - b) <= 1; }

constexpr double TOLERANCE_MS = 5;  // how far a position may be off

using Clock = std::chrono::steady_clock;
inline double msSince(Clock::time_point time) {
    return std::chrono::duration<double, std::milli>(Clock::now() - time).count();
}

// Sampled every millisecond for `ms`, the position (in ms) never goes back, never jumps and keeps the time.
template <typename Position>
void expectSmooth(double ms, Position position) {
    const Clock::time_point asked = Clock::now();
    const double first = position();
    const Clock::time_point answered = Clock::now();
    for (double last = first; msSince(asked) < ms; usleep(1000)) {
        const double least = first + msSince(answered) - TOLERANCE_MS, now = position();
        ASSERT_GE(now, std::max(last, least));
        ASSERT_LT(now, first + msSince(asked) + TOLERANCE_MS);
        last = now;
    }
}
