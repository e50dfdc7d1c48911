// playback.h - plays one mp3 stream: a decoder thread, the audio device and the clock
//
// Needs startAudio for sound; plays in time without it. All functions are called from one thread, and none of
// them waits for decoding, reading or the device, unless it says so. Never freed, so that its threads may
// outlive `exit`.
#pragma once

#include "mp3_stream.h"

#include <cstdint>

struct Playback;

// A playback that plays nothing yet. `audio`: look for a device. Throws what the standard library throws when memory or
// a thread cannot be had; so does `play`, which then leaves everything as it was.
Playback* makePlayback(bool audio);

// Plays `stream`, which stays the caller's and must stay, from its start. Opens the device when it is not
// open in the stream's format, and then waits for its first request, 2 s at the most.
void play(Playback& playback, const Mp3Stream& stream, bool paused);

// The position in frames, 0 to the stream's length, with its fraction.
double playPosition(Playback& playback);

// Moves to `frame`, 0 to the stream's length.
void seekPlayback(Playback& playback, std::int64_t frame);

bool playbackPaused(Playback& playback);
void pausePlayback(Playback& playback, bool paused);

// Ends the sound and the threads: for the end of the process. False when the device hangs and was left alone; then
// the audio service must be, too.
bool stopPlayback(Playback& playback);
