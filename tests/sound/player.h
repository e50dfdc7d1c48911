// player.h - the sound library's calls without their error codes, and what a position must do in time
#pragma once

#include "fmod.h"

#include <chrono>
#include <string>

constexpr unsigned int STREAM = FMOD_2D | FMOD_SOFTWARE | FMOD_CREATESTREAM;

// Positions are whole milliseconds, and this is how far they may be off.
constexpr double TOLERANCE_MS = 5;

// Each call fails the test when it does not report FMOD_OK.
FMOD_SYSTEM* startSystem(const std::string& sdlDriver);
FMOD_SOUND* openSound(FMOD_SYSTEM* system, const std::string& path);
FMOD_CHANNEL* playSound(FMOD_SYSTEM* system, FMOD_SOUND* sound, bool paused = false);
FMOD_CHANNEL* play(const std::string& sdlDriver, const std::string& path);
unsigned int lengthOf(FMOD_SOUND* sound);
unsigned int positionOf(FMOD_CHANNEL* channel);
void seek(FMOD_CHANNEL* channel, unsigned int ms);
void setPaused(FMOD_CHANNEL* channel, bool paused);

// A position with the time before and after the query: the machine may take the CPU away in between.
struct Sample {
    std::chrono::steady_clock::time_point before, after;
    unsigned int position;
};
Sample sample(FMOD_CHANNEL* channel);

double toMs(std::chrono::steady_clock::duration time);

// The position moved from one sample to the other as much as time did, give or take the tolerance.
void expectInTime(const Sample& earlier, const Sample& later);

// Sampled every millisecond for `time`, the position never goes back, never jumps and keeps the time since the first.
void expectSmooth(FMOD_CHANNEL* channel, std::chrono::steady_clock::duration time);

// The position does not move at all for 200 ms.
void expectStandsStill(FMOD_CHANNEL* channel);

// Seeks; the position is the target at once and goes on from there in time.
void expectSeek(FMOD_CHANNEL* channel, unsigned int target);

// Waits until the position has reached `ms`. Fails after some 20 seconds.
void playUntil(FMOD_CHANNEL* channel, unsigned int ms);
