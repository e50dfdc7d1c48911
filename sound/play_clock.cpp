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

// The device frame that is heard at `now`.
double heard(const PlayClock& clock, std::int64_t now) {
    if (!clock.running) return clock.lineFrames;
    assert(now >= clock.lineNs);
    const double line =
        clock.lineFrames + static_cast<double>(now - clock.lineNs) / NS_PER_S * clock.rate * clock.lineSpeed;
    return clock.followsDevice ? std::min(line, static_cast<double>(clock.handed)) : line;
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
    setLine(clock, now, clock.lineFrames);
    startWindow(clock, now);
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

double clockPosition(const PlayClock& clock, std::int64_t now) {
    const double moved = clock.paused ? 0 : std::max(0.0, heard(clock, now) - clock.tieDevice);
    return std::min(clock.tieStream + moved, static_cast<double>(clock.length));
}

int clockRequest(PlayClock& clock, std::int64_t now, int frames) {
    if (!clock.running) startLine(clock, now);
    setLine(clock, now, heard(clock, now));
    if (clock.followsDevice) compareWithDevice(clock, now);

    const std::int64_t wait = std::clamp<std::int64_t>(clock.streamFrom - clock.handed, 0, frames);
    const int silent = clock.paused ? frames : static_cast<int>(wait);
    clock.handed += frames;
    clock.stream = std::min(clock.stream + (frames - silent), clock.length);
    return silent;
}

void clockSeek(PlayClock& clock, std::int64_t now, std::int64_t frame) {
    assert(frame >= 0 && frame <= clock.length);
    clock.stream = frame;
    clock.streamFrom = clock.handed;
    clock.tieStream = static_cast<double>(frame);
    clock.tieDevice = clock.followsDevice ? static_cast<double>(clock.handed) : heard(clock, now);
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

void clockJoinDevice(PlayClock& clock, std::int64_t now) {
    const double position = clockPosition(clock, now);
    clock.followsDevice = true;
    setLine(clock, now, static_cast<double>(clock.handed));
    startWindow(clock, now);
    clockSeek(clock, now, static_cast<std::int64_t>(position));
    clock.tieStream = position;
}
