// play_clock.h - what the listener hears at a moment, from what the audio device says
//
// Plain arithmetic on one record: reads no clock, takes no lock, knows no device. Every function takes the
// monotonic time in nanoseconds; times must not go back from one call to the next.
//
// The model. What is heard, counted in frames, is a straight line over monotonic time. Nothing makes it step, and it never
// goes back. Without a device it is monotonic time itself. A device takes frames ahead of it, as many as hardware and
// sound server hold, and reports now and then how many have been heard. The reports of half a second are collected, and
// compared with the line. A server that reads the stream in pieces counts a piece as soon as it has read it, so its report
// is ahead by what is left of the piece: the least ahead are believed. Single reports far from the others, as servers give
// when something changes, are not.
//
// Joining: a new device plays silence until its reports keep step with time. Then the stream is laid under the line: what
// is handed over next is the frame that the line will have reached when it is heard, however far away the loudspeaker.
//
// Bending: when the reports are off, the line is bent towards them by SLEW_LIMIT of its speed at most: 0.5 %, far more
// than crystals differ and too little to be seen. When they are off by more than that mends soon (the device has moved to
// another loudspeaker, or its server has missed something) the sound is moved instead: it skips, or waits.
//
// Running dry: when the line reaches what was handed over, the device hangs or we are late. The line goes on and keeps the
// time, and what the device has missed is left out when it asks again. Only a stop of our own process holds the line: it
// goes ahead by no more than a twentieth of a second from one query of the position to the next.
//
// The start, a seek and a resume tie the stream to the line: from `tieLine` on, what is heard is the stream from
// `tieStream` on. They tie the new position to the first frame that is not handed over yet, and until that one is heard
// the position stands: the sound before it cannot be taken back. For the same reason a pause stands at the last frame
// that was handed over, which is the last to be heard.
#pragma once

#include <array>
#include <cstdint>

// Counts are frames (one sample per audio channel). Written only by the functions below; `joined`, `paused` and `stream`
// are for others to read.
struct PlayClock {
    double rate = 0;          // frames per second
    std::int64_t length = 0;  // frames in the stream

    std::int64_t lineNs = 0;  // the line: at this time ...
    double lineFrames = 0;    // ... it is here,
    double lineSpeed = 1;     // and it moves at this multiple of `rate`
    double shown = 0;         // where it was at the last query

    bool joined = false;       // the device takes part
    std::int64_t handed = 0;   // the line's frame that is handed over next
    std::int64_t written = 0;  // the device's count of frames that were handed to it

    struct Report {
        std::int64_t ns;
        double ahead;  // frames that the device is ahead of the line
    };
    std::array<Report, 256> reports{};
    int reportCount = 0;

    bool paused = true;
    std::int64_t stream = 0;      // next frame of the stream to hand over
    std::int64_t streamFrom = 0;  // at this frame of the line
    double tieLine = 0;
    double tieStream = 0;
};

// A clock for `rate` frames per second, without a device and a stream.
PlayClock startClock(double rate, std::int64_t now);

// Plays a stream of `length` frames from frame 0.
void clockPlay(PlayClock& clock, std::int64_t now, std::int64_t length, bool paused);

// The stream's position: the frame that is heard, 0 to `length`, with its fraction.
double clockPosition(PlayClock& clock, std::int64_t now);

// Moves to `frame` (0 to `length`); from the next request on the stream is handed over from there.
void clockSeek(PlayClock& clock, std::int64_t now, std::int64_t frame);

void clockPause(PlayClock& clock, std::int64_t now);
void clockResume(PlayClock& clock, std::int64_t now);

// A device has come that has played nothing, or the one that was there is gone.
void clockResetDevice(PlayClock& clock, std::int64_t now);

// What a request gets: `silent` frames of silence, then the stream from frame `first` on.
struct Handout {
    std::int64_t first;
    int silent;
};

// The device takes `frames` more.
Handout clockRequest(PlayClock& clock, std::int64_t now, int frames);

// The device reports that it had played `frames` of those that it took, at the time `at`, which may lie a little back.
void clockHeard(PlayClock& clock, std::int64_t at, double frames);
