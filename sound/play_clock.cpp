#include "play_clock.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace {

constexpr double NS_PER_S = 1e9;
constexpr std::int64_t WINDOW_NS = 1'000'000'000;
constexpr double SLEW_SECONDS = 2.0;  // a difference is to be gone after this time
constexpr double SLEW_LIMIT = 0.005;
constexpr double QUEUE_TOLERANCE = 0.25;  // of a buffer
constexpr double STOP_SECONDS = 0.05;     // what a stop of our process may move the position by

// Whether the line may go on beyond what was handed over. Not before the device is known to play: many take a while.
bool mayRunAhead(const PlayClock& clock, std::int64_t now) {
    return clock.queueKnown || now - clock.windowNs >= WINDOW_NS;
}

// The device frame that is heard at `now`.
double heard(const PlayClock& clock, std::int64_t now) {
    if (!clock.running) return clock.lineFrames;
    assert(now >= clock.lineNs);
    const double line =
        clock.lineFrames + static_cast<double>(now - clock.lineNs) / NS_PER_S * clock.rate * clock.lineSpeed;
    if (!clock.followsDevice) return line;
    const double ahead = mayRunAhead(clock, now) ? clock.shown + STOP_SECONDS * clock.rate : 0;
    return std::min(line, std::max(static_cast<double>(clock.handed), ahead));
}

// Lets the line go on from (`now`, `frames`) at its speed.
void setLine(PlayClock& clock, std::int64_t now, double frames) {
    clock.lineNs = now;
    clock.lineFrames = frames;
}

void startWindow(PlayClock& clock, std::int64_t now) {
    clock.windowNs = now;
    clock.windowQueue = 0;
}

void startLine(PlayClock& clock, std::int64_t now) {
    clock.running = true;
    clock.shown = clock.lineFrames;
    setLine(clock, now, clock.lineFrames);
    startWindow(clock, now);
}

// Counts the next `frames` device frames as handed over. Returns how many of them come before the stream's.
std::int64_t hand(PlayClock& clock, std::int64_t frames) {
    const std::int64_t wait = std::clamp<std::int64_t>(clock.streamFrom - clock.handed, 0, frames);
    const std::int64_t silent = clock.paused ? frames : wait;
    clock.handed += frames;
    clock.stream = std::min(clock.stream + (frames - silent), clock.length);
    return silent;
}

// What a starved device has not asked for in time is lost. A little of it is only the line's own error: that is left to
// the bending.
void dropMissed(PlayClock& clock) {
    const double missed = clock.lineFrames - static_cast<double>(clock.handed);
    if (missed > QUEUE_TOLERANCE * static_cast<double>(clock.buffer)) hand(clock, static_cast<std::int64_t>(missed));
}

// Nothing of the stream is heard yet, so the line may jump to what the device must have heard by now. Until its queue
// is known that is only: it has begun.
void skipSilence(PlayClock& clock, std::int64_t now) {
    const double reached = static_cast<double>(clock.handed - clock.queue);
    double limit = clock.paused ? reached : clock.tieDevice;
    if (!clock.queueKnown) limit = 0;
    if (std::min(reached, limit) > clock.lineFrames) setLine(clock, now, std::min(reached, limit));
}

// A queue holds whole buffers. What was seen is more than that if the line started late, and a little less if no
// request was quite on time.
void learnQueue(PlayClock& clock) {
    const double buffers = std::floor(clock.windowQueue / static_cast<double>(clock.buffer) + QUEUE_TOLERANCE);
    clock.queue = std::max(static_cast<std::int64_t>(buffers), std::int64_t{1}) * clock.buffer;
    clock.queueKnown = true;
}

// Learns the queue from the first second and then bends the line, once a second, towards what the requests say.
void compareWithDevice(PlayClock& clock, std::int64_t now) {
    skipSilence(clock, now);
    clock.windowQueue = std::max(clock.windowQueue, static_cast<double>(clock.handed) - clock.lineFrames);
    if (now - clock.windowNs < WINDOW_NS) return;
    if (!clock.queueKnown) learnQueue(clock);
    const double behind = clock.windowQueue - static_cast<double>(clock.queue);
    clock.lineSpeed = 1 + std::clamp(behind / (clock.rate * SLEW_SECONDS), -SLEW_LIMIT, SLEW_LIMIT);
    startWindow(clock, now);
}

}  // namespace

PlayClock startClock(double rate, std::int64_t buffer, bool followsDevice) {
    PlayClock clock;
    clock.rate = rate;
    clock.buffer = buffer;
    clock.queue = buffer;
    clock.followsDevice = followsDevice;
    // A device that waits before it asks again was full, of silence, before the first request.
    if (followsDevice) clock.lineFrames = -static_cast<double>(buffer);
    return clock;
}

void clockPlay(PlayClock& clock, std::int64_t now, std::int64_t length, bool paused) {
    clock.length = length;
    clock.paused = paused;
    clockSeek(clock, now, 0);
}

void clockStart(PlayClock& clock, std::int64_t now) {
    if (clock.running) return;
    startLine(clock, now);
    clock.windowNs -= WINDOW_NS;
}

double clockPosition(PlayClock& clock, std::int64_t now) {
    setLine(clock, now, heard(clock, now));
    clock.shown = clock.lineFrames;
    const double moved = clock.paused ? 0 : std::max(0.0, clock.lineFrames - clock.tieDevice);
    return std::min(clock.tieStream + moved, static_cast<double>(clock.length));
}

Handout clockRequest(PlayClock& clock, std::int64_t now, int frames) {
    if (!clock.running) startLine(clock, now);
    setLine(clock, now, heard(clock, now));
    if (clock.followsDevice) {
        dropMissed(clock);
        compareWithDevice(clock, now);
    }
    const std::int64_t first = clock.stream;
    return {first, static_cast<int>(hand(clock, frames))};
}

void clockSeek(PlayClock& clock, std::int64_t now, std::int64_t frame) {
    assert(frame >= 0 && frame <= clock.length);
    const double line = heard(clock, now);
    clock.stream = frame;
    clock.streamFrom = clock.handed;
    clock.tieStream = static_cast<double>(frame);
    clock.tieDevice = line;
    if (!clock.followsDevice) return;
    clock.streamFrom = std::max(clock.handed, static_cast<std::int64_t>(std::ceil(line)));
    clock.tieDevice = static_cast<double>(clock.streamFrom);
}

void clockPause(PlayClock& clock, std::int64_t now) {
    if (clock.paused) return;
    clock.tieStream = clockPosition(clock, now);
    clock.paused = true;
}

void clockResume(PlayClock& clock, std::int64_t now) {
    if (!clock.paused) return;
    clock.paused = false;
    const double line = heard(clock, now);
    clock.streamFrom = clock.handed;
    clock.tieDevice = line;
    if (!clock.followsDevice) return;
    // Where the rest of the stream would have to stand for the position to move at once; if that is handed
    // over already, the position waits.
    const double wanted = line + (static_cast<double>(clock.stream) - clock.tieStream);
    clock.streamFrom = std::max(clock.handed, static_cast<std::int64_t>(std::ceil(wanted)));
    clock.tieDevice = line + (static_cast<double>(clock.streamFrom) - wanted);
}

void clockLeaveDevice(PlayClock& clock, std::int64_t now) {
    const double line = heard(clock, now);
    clock.running = true;
    clock.followsDevice = false;
    clock.lineSpeed = 1;
    setLine(clock, now, line);
}
