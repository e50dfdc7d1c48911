// playback.h - plays one mp3 stream: a decoder thread, a thread for the audio device, and the clock
//
// Without a device it plays silently, in time; the sound is heard as soon as there is a device.
//
// Needs    one calling thread. RYL_SOUND in the environment names the driver: "pulse", "alsa" or "none"; without it
//          the first that opens is used.
// Waits    for decoding, reading or the device only where it says so.
// Prints   one line on standard error if there is no device, and one if RYL_SOUND names no driver.
// Never    frees a playback, so that its threads may outlive `exit`.
#pragma once

#include "mp3_stream.h"

#include <cstdint>

struct Playback;

// Makes a playback that plays nothing yet. If there is no memory or thread, this function and the next two throw the
// standard library's exceptions; those two then leave everything as it was.
Playback* makePlayback();

// Lets the device open for the first stream, without waiting for it. Does nothing after a stream has played.
void preparePlayback(Playback& playback, const Mp3Stream& stream);

// Plays `stream` from its start. The stream belongs to the caller and must stay open. Waits until the device plays
// silence steadily, at most 2 s; after preparePlayback it mostly does already.
void play(Playback& playback, const Mp3Stream& stream, bool paused);

// The position in frames, 0 to the stream's length, with its fraction.
double playPosition(Playback& playback);

// Moves to `frame`, 0 to the stream's length.
void seekPlayback(Playback& playback, std::int64_t frame);

bool playbackPaused(Playback& playback);
void pausePlayback(Playback& playback, bool paused);

// Ends the sound and the threads when the process ends. Gives up on a hanging device after 2 s.
void stopPlayback(Playback& playback);
