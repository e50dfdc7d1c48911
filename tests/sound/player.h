// player.h - the sound library's channel in tests: plays a file and asks for its position
#pragma once

#include "command.h"
#include "fmod.h"
#include "mp3_stream.h"
#include "temp_dir.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

constexpr double TOLERANCE_MS = 5;  // how far a position may be off
constexpr double BENT = 1.005;      // how much faster than time it may go
constexpr double STAND_MS = 50;     // and behind, because a new position stands until it is heard

using Clock = std::chrono::steady_clock;
inline double msSince(Clock::time_point time) {
    return std::chrono::duration<double, std::milli>(Clock::now() - time).count();
}

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
    EXPECT_EQ(openMp3(path.c_str(), stream), Mp3Open::ok);
    std::vector<std::int16_t> samples(static_cast<std::size_t>(stream.frames * stream.channels));
    for (std::size_t at = 0; at < samples.size();)
        at += static_cast<std::size_t>(readMp3(stream, std::span(samples).subspan(at)) * stream.channels);
    closeMp3(stream);
    return samples;
}

// The last bit of a sample depends on what the decoder has decoded before.
inline bool sameSample(std::int16_t a, std::int16_t b) { return std::abs(a - b) <= 1; }

struct Player {
    FMOD_SYSTEM* system = nullptr;
    FMOD_SOUND* sound = nullptr;
    FMOD_CHANNEL* channel = nullptr;

    FMOD_RESULT open(const std::string& path) {
        constexpr unsigned int STREAM = FMOD_2D | FMOD_SOFTWARE | FMOD_CREATESTREAM;
        return FMOD_System_CreateSound(system, path.c_str(), STREAM, nullptr, &sound);
    }
    // The first call that fails, or FMOD_OK.
    FMOD_RESULT play(const std::string& path) {
        FMOD_RESULT result = system ? FMOD_OK : FMOD_System_Create(&system);
        if (result == FMOD_OK) result = FMOD_System_Init(system, 1, FMOD_INIT_NORMAL, nullptr);
        if (result == FMOD_OK || result == FMOD_ERR_INITIALIZED) result = open(path);
        return result == FMOD_OK ? FMOD_System_PlaySound(system, FMOD_CHANNEL_FREE, sound, 0, &channel) : result;
    }
    unsigned int position() const {
        unsigned int position = ~0U;
        EXPECT_EQ(FMOD_Channel_GetPosition(channel, &position, FMOD_TIMEUNIT_MS), FMOD_OK);
        return position;
    }
    // Sampled every millisecond for `ms`, the position never goes back, never jumps and keeps the time.
    void smooth(double ms) const {
        const Clock::time_point began = Clock::now();
        const double first = position();
        double last = first;
        for (Clock::time_point asked = began; msSince(began) < ms; usleep(1000)) {
            const Clock::time_point asking = Clock::now();
            const double now = position();
            ASSERT_GE(now, last);
            ASSERT_LT(now, last + msSince(asked) + TOLERANCE_MS);
            last = now;
            asked = asking;
        }
        EXPECT_GT(last, first + ms - STAND_MS - TOLERANCE_MS);
        EXPECT_LT(last, first + msSince(began) * BENT + TOLERANCE_MS);
    }
    void standsStill(unsigned int ms) const {
        for (int i = 0; i < 100; ++i, usleep(1000)) ASSERT_EQ(position(), ms);
    }
    void seek(unsigned int ms) const {
        const Clock::time_point before = Clock::now();
        EXPECT_EQ(FMOD_Channel_SetPosition(channel, ms, FMOD_TIMEUNIT_MS), FMOD_OK);
        const unsigned int reached = position();
        EXPECT_GE(reached, ms);
        EXPECT_LT(reached, ms + msSince(before) + TOLERANCE_MS);
    }
};
