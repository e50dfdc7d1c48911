// play_clock.h - what the listener hears at a moment, from what the audio device has asked for so far
//
// Plain arithmetic on one record: reads no clock, takes no lock, knows no device. Every function takes the
// monotonic time in nanoseconds; times must not go back from one call to the next.
//
// The model. The device counts frames from the first one that it asked for. `heard`, the device frame that leaves the
// speaker now, is a straight line over monotonic time. The audio interface tells only when the device asks for another
// buffer, and that moment is late by however long our thread waited for the CPU (jitter), so a single request never
// moves the line. Requests correct it in three ways.
//
// Bending: a device asks as soon as its queue has room, so at a request that is on time `handed - queue` frames have
// been heard, and at a late one more. The most punctual request of a second is believed, and the line bent towards it by
// SLEW_LIMIT of its speed at most: 0.5 %, far more than crystals differ and too little to be seen. Requests that are
// uneven because rates are converted, or because a server asks for several buffers at once, are so within that second,
// not over it. The queue is learned from the first second: a device plays from its first request on and fills its
// queue at once. It is one buffer at least: a device asks for the next while it plays the last.
//
// Running ahead: a device that starves or is gone asks for nothing, and the line goes on beyond what was handed over: the
// position keeps the time whatever the device does. When it asks again, what it has missed is dropped, so the sound is
// back where the clock is. Only a stop of our own process holds the clock: it goes ahead by no more than a twentieth of
// a second from one query of the position to the next. And before a device has been at work for a second nothing is
// heard that has not been handed over, because many take a while to begin.
//
// Skipping: while nothing of the stream is heard (paused, or a new position is still on its way through the queue) the
// line may be set forward at once.
//
// The start, a seek and a resume tie the stream to the device frames: from device frame `tieDevice` on, what is heard is
// the stream from `tieStream` on. A seek ties the new position to the first device frame that is not handed over yet,
// and until that one is heard, a few hundredths of a second later, the position stands at the target: the old sound in
// the queue cannot be taken back. A pause hands out silence while what is queued is still heard; on resume there is just
// so much silence that the stream goes on without a gap and the position without a step.
//
// What this cannot see: how long a sound server and the hardware hold frames after they have left that queue.
//
// A device with no clock of its own (none at all, one that is lost, the interface's drivers that only sleep) is not
// followed: the line is then monotonic time itself.
#pragma once

#include <cstdint>

// Counts are frames (one sample per audio channel) from the stream's or the device's start. Written only by
// the functions below; `paused` and `stream` are for others to read.
struct PlayClock {
    double rate = 0;          // frames per second
    std::int64_t length = 0;  // frames in the stream
    std::int64_t buffer = 0;  // frames that the device asks for at a time
    std::int64_t queue = 0;   // frames that the device still holds when it asks for more, on time
    bool queueKnown = false;  // learned from this device, not assumed
    bool followsDevice = false;

    bool running = false;       // the device has asked for its first frames
    std::int64_t handed = 0;    // device frames handed over, or missed
    double shown = 0;           // device frame that was heard at the last query
    std::int64_t lineNs = 0;    // the line: at this time ...
    double lineFrames = 0;      // ... this device frame is heard,
    double lineSpeed = 1;       // and it moves at this multiple of `rate`
    std::int64_t windowNs = 0;  // start of the second in which the requests are compared
    double windowQueue = 0;     // the most that was handed over and not heard at a request in it

    bool paused = false;
    std::int64_t stream = 0;      // next frame of the stream to hand over
    std::int64_t streamFrom = 0;  // at this device frame
    double tieDevice = 0;
    double tieStream = 0;
};

// A clock for a device of `rate` frames per second that has asked for nothing yet; `buffer` is the size of
// its requests. The clock starts with the first one.
PlayClock startClock(double rate, std::int64_t buffer, bool followsDevice);

// Plays a stream of `length` frames from frame 0.
void clockPlay(PlayClock& clock, std::int64_t now, std::int64_t length, bool paused);

// The device does not ask for its first frames: the clock starts without it.
void clockStart(PlayClock& clock, std::int64_t now);

// The stream's position: the frame that is heard, 0 to `length`, with its fraction.
double clockPosition(PlayClock& clock, std::int64_t now);

// What a request gets: `silent` frames of silence, then the stream from frame `first` on.
struct Handout {
    std::int64_t first;
    int silent;
};

// The device asks for `frames` frames.
Handout clockRequest(PlayClock& clock, std::int64_t now, int frames);

// Moves to `frame` (0 to `length`); from the next request on the stream is handed over from there.
void clockSeek(PlayClock& clock, std::int64_t now, std::int64_t frame);

void clockPause(PlayClock& clock, std::int64_t now);
void clockResume(PlayClock& clock, std::int64_t now);

// Goes on by monotonic time from the position that the clock shows now: there is no device, or none any more.
void clockLeaveDevice(PlayClock& clock, std::int64_t now);
