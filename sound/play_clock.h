// play_clock.h - what the listener hears at a moment, from the audio device's reports
//
// Needs    the monotonic time in nanoseconds, which does not go back from one call to the next.
// Never    reads a clock, takes a lock or knows a device: it is arithmetic on one record.
//
// The line: what is heard, in frames, is a straight line over monotonic time, which never steps and never goes back.
// Without a device it is the time itself. A device takes frames ahead of the line, as many as hardware and sound
// server hold, and reports now and then how many have been heard. The reports of half a second are compared with the
// line. If a server reads the stream in pieces, it counts a piece as soon as it has read it, so its reports are ahead
// by the rest of the piece; the clock believes those that are least ahead. It ignores single reports far from the
// others, which servers give when something changes.
//
// Joining: a new device plays silence until its reports keep step with time. Then the stream joins the line: the
// frame that is handed over next is the one that the line will have reached when that frame is heard.
//
// Bending: if the reports differ from the line, its speed changes by at most SLEW_LIMIT: 0.5 %, which is far more
// than the clocks of devices differ and too little to be seen. If the difference is too large for that (the sound has
// moved to another loudspeaker, or the server has missed something), the sound moves instead: it skips, or waits.
//
// Running dry: if the line reaches the end of what was handed over, the device hangs or this process is late. The
// line goes on and keeps the time, and the frames that the device has missed are left out. Only if this process
// stops, the line waits: it advances by at most a twentieth of a second between two queries of the position.
//
// Ties: the start, a seek and a resume tie the stream to the line. From the line's frame `tieLine` on, the stream is
// heard from its frame `tieStream` on. `tieLine` is the first frame that is not handed over yet, and the position
// stands until that one is heard, because the sound before it cannot be taken back. In a pause the position stands at
// the last frame that was handed over, which is the last to be heard.
#pragma once

#include <array>
#include <cstdint>

// Counts are frames (one sample for each channel). Only the functions below write; others may read `joined`, `paused`
// and `stream`.
struct PlayClock {
    double rate = 0;          // frames per second
    std::int64_t length = 0;  // frames in the stream

    std::int64_t lineNs = 0;  // at this time ...
    double lineFrames = 0;    // ... the line is at this frame,
    double lineSpeed = 1;     // and it moves at this multiple of `rate`
    double shown = 0;         // the line at the last query

    bool joined = false;       // the device has joined
    std::int64_t handed = 0;   // the line's frame that is handed over next
    std::int64_t written = 0;  // frames that were handed to the device, by its own count

    struct Report {
        std::int64_t ns;
        double ahead;  // how many frames the device is ahead of the line
    };
    std::array<Report, 256> reports{};
    int reportCount = 0;

    bool paused = true;
    std::int64_t stream = 0;      // next frame of the stream to hand over
    std::int64_t streamFrom = 0;  // at this frame of the line
    double tieLine = 0;
    double tieStream = 0;
};

// A clock for `rate` frames per second, with no device and no stream.
PlayClock startClock(double rate, std::int64_t now);

// Plays a stream of `length` frames from frame 0.
void clockPlay(PlayClock& clock, std::int64_t now, std::int64_t length, bool paused);

// The stream's frame that is heard, 0 to `length`, with its fraction.
double clockPosition(PlayClock& clock, std::int64_t now);

// Moves to `frame` (0 to `length`), from which the next request is served.
void clockSeek(PlayClock& clock, std::int64_t now, std::int64_t frame);

void clockPause(PlayClock& clock, std::int64_t now);
void clockResume(PlayClock& clock, std::int64_t now);

// Callers say so when a device has come that has played nothing, or when the device is gone.
void clockResetDevice(PlayClock& clock, std::int64_t now);

// The answer to a request: `silent` frames of silence, then the stream from frame `first` on.
struct Handout {
    std::int64_t first;
    int silent;
};

// The device takes `frames` more frames.
Handout clockRequest(PlayClock& clock, std::int64_t now, int frames);

// The device reports that `frames` of its frames had been heard at the time `at`, which may be a little back.
void clockHeard(PlayClock& clock, std::int64_t at, double frames);
