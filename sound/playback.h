// playback.h - plays one mp3 stream: a decoder thread, a thread for the audio device, and the clock
//
// Plays silently, in time, without a device; the sound is there when the device is, or is there again. All functions are
// called from one thread, and none of them waits for decoding, reading or the device, unless it says so. Never freed, so
// that its threads may outlive `exit`. Prints the one line about a missing device.
//
// RYL_SOUND in the environment names the way to the device: "pulse", "alsa", or "none"; without it the first that opens.
#pragma once

#include "mp3_stream.h"

#include <cstdint>

struct Playback;

// A playback that plays nothing yet. Throws what the standard library throws when memory or a thread cannot be had; so do
// the two that follow, which then leave everything as it was.
Playback* makePlayback();

// Opens the device for the first stream that will play, without waiting for it. Nothing once one has played.
void preparePlayback(Playback& playback, const Mp3Stream& stream);

// Plays `stream`, which stays the caller's and must stay, from its start. Waits until the device plays silence in a steady
// way, 2 s at the most: after preparePlayback mostly not at all.
void play(Playback& playback, const Mp3Stream& stream, bool paused);

// The position in frames, 0 to the stream's length, with its fraction.
double playPosition(Playback& playback);

// Moves to `frame`, 0 to the stream's length.
void seekPlayback(Playback& playback, std::int64_t frame);

bool playbackPaused(Playback& playback);
void pausePlayback(Playback& playback, bool paused);

// Ends the sound and the threads, for the end of the process. Leaves a device that hangs alone after 2 s.
void stopPlayback(Playback& playback);
