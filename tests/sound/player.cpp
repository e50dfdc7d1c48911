#include "player.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

double toMs(Clock::duration time) { return std::chrono::duration<double, std::milli>(time).count(); }

FMOD_SYSTEM* startSystem(const std::string& sdlDriver) {
    setenv("SDL_AUDIODRIVER", sdlDriver.c_str(), 1);
    FMOD_SYSTEM* system = nullptr;
    EXPECT_EQ(FMOD_System_Create(&system), FMOD_OK);
    EXPECT_EQ(FMOD_System_Init(system, 1, FMOD_INIT_NORMAL, nullptr), FMOD_OK);
    return system;
}

FMOD_SOUND* openSound(FMOD_SYSTEM* system, const std::string& path) {
    FMOD_SOUND* sound = nullptr;
    EXPECT_EQ(FMOD_System_CreateSound(system, path.c_str(), STREAM, nullptr, &sound), FMOD_OK);
    return sound;
}

FMOD_CHANNEL* playSound(FMOD_SYSTEM* system, FMOD_SOUND* sound, bool paused) {
    FMOD_CHANNEL* channel = nullptr;
    EXPECT_EQ(FMOD_System_PlaySound(system, FMOD_CHANNEL_FREE, sound, paused, &channel), FMOD_OK);
    return channel;
}

FMOD_CHANNEL* play(const std::string& sdlDriver, const std::string& path) {
    FMOD_SYSTEM* system = startSystem(sdlDriver);
    return playSound(system, openSound(system, path));
}

unsigned int lengthOf(FMOD_SOUND* sound) {
    unsigned int length = 0;
    EXPECT_EQ(FMOD_Sound_GetLength(sound, &length, FMOD_TIMEUNIT_MS), FMOD_OK);
    return length;
}

unsigned int positionOf(FMOD_CHANNEL* channel) {
    unsigned int position = 0;
    EXPECT_EQ(FMOD_Channel_GetPosition(channel, &position, FMOD_TIMEUNIT_MS), FMOD_OK);
    return position;
}

void seek(FMOD_CHANNEL* channel, unsigned int ms) {
    EXPECT_EQ(FMOD_Channel_SetPosition(channel, ms, FMOD_TIMEUNIT_MS), FMOD_OK);
}

void setPaused(FMOD_CHANNEL* channel, bool paused) { EXPECT_EQ(FMOD_Channel_SetPaused(channel, paused), FMOD_OK); }

Sample sample(FMOD_CHANNEL* channel) {
    const Clock::time_point before = Clock::now();
    const unsigned int position = positionOf(channel);
    return {before, Clock::now(), position};
}

void expectInTime(const Sample& earlier, const Sample& later) {
    const double moved = static_cast<double>(later.position) - static_cast<double>(earlier.position);
    EXPECT_LT(moved, toMs(later.after - earlier.before) + TOLERANCE_MS);
    EXPECT_GT(moved, toMs(later.before - earlier.after) - TOLERANCE_MS);
}

void expectSmooth(FMOD_CHANNEL* channel, Clock::duration time) {
    const Sample first = sample(channel);
    Sample last = first;
    while (last.after - first.after < time) {
        std::this_thread::sleep_for(1ms);
        const Sample next = sample(channel);
        ASSERT_GE(next.position, last.position);
        ASSERT_LT(next.position - last.position, toMs(next.after - last.before) + TOLERANCE_MS);
        expectInTime(first, next);
        last = next;
    }
}

void expectSeek(FMOD_CHANNEL* channel, unsigned int target) {
    const Clock::time_point before = Clock::now();
    seek(channel, target);
    const Sample first = sample(channel);
    EXPECT_GE(first.position, target);
    EXPECT_LT(first.position, target + toMs(first.after - before) + TOLERANCE_MS);
    std::this_thread::sleep_for(200ms);
    expectInTime(first, sample(channel));
}

void expectStandsStill(FMOD_CHANNEL* channel) {
    const unsigned int stand = positionOf(channel);
    for (int i = 0; i < 200; ++i) {
        std::this_thread::sleep_for(1ms);
        ASSERT_EQ(positionOf(channel), stand);
    }
}

void playUntil(FMOD_CHANNEL* channel, unsigned int ms) {
    for (int i = 0; positionOf(channel) < ms && i < 20000; ++i) std::this_thread::sleep_for(1ms);
    ASSERT_GE(positionOf(channel), ms);
}
