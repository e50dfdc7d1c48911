#include "play_clock.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <span>
#include <tuple>

namespace {

constexpr double NS_PER_S = 1e9;
constexpr std::int64_t WINDOW_NS = 500'000'000;        // the time whose reports are compared
constexpr std::int64_t JOIN_NS = 250'000'000;          // the time whose reports must agree before a device joins
constexpr std::int64_t REPORT_SPACING_NS = 4'000'000;  // makes the reports of a window fit
constexpr double JOIN_SECONDS = 0.005;                 // how much their two halves may differ
constexpr double PIECE_SECONDS = 0.05;                 // servers read no larger pieces
constexpr int LEAST = 10;                              // one in ten reports is less ahead than the one believed
constexpr double SLEW_SECONDS = 2.0;                   // a bend removes a difference in this time
constexpr double SLEW_LIMIT = 0.005;
constexpr double MOVE_SECONDS = 0.015;  // a larger difference moves the sound
constexpr double STOP_SECONDS = 0.05;   // how far the position moves when this process has stopped

using Report = PlayClock::Report;

// The line, if nothing holds it. `at` may be a little before the last change.
double unheld(const PlayClock& clock, std::int64_t at) {
    return clock.lineFrames + static_cast<double>(at - clock.lineNs) / NS_PER_S * clock.rate * clock.lineSpeed;
}

// The line at `now`.
double line(const PlayClock& clock, std::int64_t now) {
    assert(now >= clock.lineNs);
    if (!clock.joined) return unheld(clock, now);
    return std::min(unheld(clock, now),
                    std::max(static_cast<double>(clock.handed), clock.shown + STOP_SECONDS * clock.rate));
}

void setSpeed(PlayClock& clock, std::int64_t now, double speed) {
    clock.lineFrames = line(clock, now);
    clock.lineNs = now;
    clock.lineSpeed = speed;
}

// Counts the next `frames` frames as handed over. Returns how many of them are silent.
std::int64_t hand(PlayClock& clock, std::int64_t frames) {
    const std::int64_t wait = std::clamp<std::int64_t>(clock.streamFrom - clock.handed, 0, frames);
    const std::int64_t silent = clock.paused ? frames : wait;
    clock.handed += frames;
    clock.stream = std::min(clock.stream + (frames - silent), clock.length);
    return silent;
}

// Leaves `late` frames out. If `late` is below 0, the stream waits instead.
void moveSound(PlayClock& clock, std::int64_t late) {
    if (late >= 0) {
        hand(clock, late);
        return;
    }
    clock.streamFrom = std::max(clock.streamFrom, clock.handed);
    clock.handed += late;
}

// Leaves out the frames that a device which ran dry has missed.
void dropMissed(PlayClock& clock) {
    const double missed = clock.lineFrames - static_cast<double>(clock.handed);
    if (missed < 0) return;
    moveSound(clock, std::llround(missed));
    clock.reportCount = 0;
}

// Joins the stream to the line. `ahead`: how many frames the device's count is ahead of the line.
void join(PlayClock& clock, double ahead) {
    clock.joined = true;
    clock.handed = std::llround(static_cast<double>(clock.written) - ahead);
    clock.streamFrom = clock.handed;
    if (clock.paused) return;
    // A tie to a later frame holds the stream until then.
    clock.streamFrom = std::max(clock.handed, static_cast<std::int64_t>(std::ceil(clock.tieLine)));
    const double next = clock.tieStream + static_cast<double>(clock.streamFrom) - clock.tieLine;
    clock.stream = std::min(static_cast<std::int64_t>(next), clock.length);
}

// How many frames the device is ahead of the line: among the least of the reports, but near the middle one. (A server
// that reads in pieces reports too much.)
double aheadOf(std::span<const Report> reports, double rate) {
    std::array<double, std::tuple_size_v<decltype(PlayClock::reports)>> sorted{};
    const auto end = std::ranges::transform(reports, sorted.begin(), &Report::ahead).out;
    std::sort(sorted.begin(), end);
    const double middle = sorted[reports.size() / 2];
    const auto least = std::lower_bound(sorted.begin(), end, middle - PIECE_SECONDS * rate);
    return *(least + (end - least) / LEAST);
}

// Joins the device if its reports keep step with time. If not, forgets their older half.
void joinWhenSteady(PlayClock& clock) {
    const std::span reports(clock.reports.data(), static_cast<std::size_t>(clock.reportCount));
    const std::size_t half = reports.size() / 2;
    const std::span newer = reports.subspan(half);
    if (std::abs(aheadOf(reports.first(half), clock.rate) - aheadOf(newer, clock.rate)) <=
        JOIN_SECONDS * clock.rate) {
        join(clock, aheadOf(reports, clock.rate));
        clock.reportCount = 0;
        return;
    }
    std::copy(newer.begin(), newer.end(), reports.begin());
    clock.reportCount = static_cast<int>(newer.size());
}

// Bends the line towards the reports, or moves the sound.
void compare(PlayClock& clock, std::int64_t now) {
    const double ahead =
        aheadOf(std::span(clock.reports).first(static_cast<std::size_t>(clock.reportCount)), clock.rate);
    clock.reportCount = 0;
    double bend = ahead / (clock.rate * SLEW_SECONDS);
    if (std::abs(ahead) > MOVE_SECONDS * clock.rate) {
        moveSound(clock, std::llround(-ahead));
        bend = 0;
    }
    setSpeed(clock, now, 1 + std::clamp(bend, -SLEW_LIMIT, SLEW_LIMIT));
}

// Ties the stream's frame `frame` to the next one that is handed over.
void tie(PlayClock& clock, std::int64_t now, double frame) {
    clock.tieStream = frame;
    clock.tieLine = line(clock, now);
    clock.stream = static_cast<std::int64_t>(frame);
    if (!clock.joined) return;
    clock.streamFrom = std::max(clock.handed, static_cast<std::int64_t>(std::ceil(clock.tieLine)));
    clock.tieLine = static_cast<double>(clock.streamFrom);
}

}  // namespace

PlayClock startClock(double rate, std::int64_t now) {
    PlayClock clock;
    clock.rate = rate;
    clock.lineNs = now;
    return clock;
}

void clockPlay(PlayClock& clock, std::int64_t now, std::int64_t length, bool paused) {
    clock.length = length;
    clock.paused = paused;
    clockSeek(clock, now, 0);
}

double clockPosition(PlayClock& clock, std::int64_t now) {
    setSpeed(clock, now, clock.lineSpeed);
    clock.shown = clock.lineFrames;
    const double moved = clock.paused ? 0 : std::max(0.0, clock.lineFrames - clock.tieLine);
    return std::min(clock.tieStream + moved, static_cast<double>(clock.length));
}

void clockSeek(PlayClock& clock, std::int64_t now, std::int64_t frame) {
    assert(frame >= 0 && frame <= clock.length);
    tie(clock, now, static_cast<double>(frame));
}

void clockPause(PlayClock& clock, std::int64_t now) {
    if (clock.paused) return;
    const double position = clockPosition(clock, now);
    clock.tieStream = clock.joined ? std::max(position, static_cast<double>(clock.stream)) : position;
    clock.paused = true;
}

void clockResume(PlayClock& clock, std::int64_t now) {
    if (!clock.paused) return;
    clock.paused = false;
    tie(clock, now, clock.tieStream);
}

void clockResetDevice(PlayClock& clock, std::int64_t now) {
    setSpeed(clock, now, 1);
    clock.joined = false;
    clock.written = 0;
    clock.reportCount = 0;
}

Handout clockRequest(PlayClock& clock, std::int64_t now, int frames) {
    setSpeed(clock, now, clock.lineSpeed);
    clock.written += frames;
    if (!clock.joined) return {clock.stream, frames};
    dropMissed(clock);
    const std::int64_t first = clock.stream;
    return {first, static_cast<int>(hand(clock, frames))};
}

void clockHeard(PlayClock& clock, std::int64_t at, double frames) {
    int& count = clock.reportCount;
    if (count > 0 && at - clock.reports[count - 1].ns < REPORT_SPACING_NS) return;
    // If the device has joined, its next frame is the line's `handed`.
    const double base = clock.joined ? static_cast<double>(clock.handed - clock.written) : 0;
    clock.reports[count++] = {at, frames + base - unheld(clock, at)};
    if (count < 2 || at - clock.reports[0].ns < (clock.joined ? WINDOW_NS : JOIN_NS)) return;
    if (clock.joined)
        compare(clock, std::max(at, clock.lineNs));
    else
        joinWhenSteady(clock);
}
