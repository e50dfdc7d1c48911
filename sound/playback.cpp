#include "playback.h"

#include "audio_driver.h"
#include "play_clock.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr auto DEVICE_PATIENCE = 2s;      // how long callers wait for a device to open, and to close
constexpr auto DEVICE_RETRY = 1s;         // between two tries to open one
constexpr auto DECODER_PATIENCE = 500ms;  // how long the device's thread waits before it plays silence
constexpr double NS_PER_S = 1e9;
constexpr double AHEAD_SECONDS = 2;  // a device that takes more than this ahead of time does not play, but stores
constexpr int CHUNK_FRAMES = 1152;   // decoded at a time: one frame of layer III

using Drivers = std::span<const AudioDriver* const>;

// In the order in which they are tried.
constexpr std::array<const AudioDriver*, 2> DRIVERS = {&PULSE_DRIVER, &ALSA_DRIVER};

// Up to a second of decoded frames that wait for the device.
struct Ring {
    std::vector<std::int16_t> samples;
    int channels = 0;
    std::int64_t first = 0;   // the stream's frame that comes next
    std::int64_t filled = 0;  // frames
    bool ended = false;       // the decoder gives no more
};

// What the decoder shall do. A new number makes it start again.
struct Request {
    unsigned int number = 0;
    const Mp3Stream* stream = nullptr;  // null: nothing
    std::int64_t frame = 0;
};

struct Format {
    int rate = 0;  // 0: none yet
    int channels = 0;
    bool operator==(const Format&) const = default;
};

enum class DeviceState { opening, open, missing, ended };

}  // namespace

struct Playback {
    // Guards the whole record. `format` changes on the calling thread only. Nobody holds it while decoding, reading a
    // file or in a driver, so a query of the position waits for a copy of some kilobytes at most.
    std::mutex lock;
    std::condition_variable decoderWork;    // there is a request, or room in the ring
    std::condition_variable deviceWork;     // there are frames, or an end, a pause, another format
    std::condition_variable deviceChanged;  // another state, or it has joined the clock
    PlayClock clock;
    Ring ring;
    Request request;
    Format format;  // which the device shall have
    DeviceState device = DeviceState::opening;
    Drivers drivers;
    bool stopping = false;
};

namespace {

std::int64_t capacity(const Ring& ring) {
    return ring.channels == 0 ? 0 : static_cast<std::int64_t>(ring.samples.size()) / ring.channels;
}

void clearRing(Ring& ring, std::int64_t first) {
    ring.first = first;
    ring.filled = 0;
    ring.ended = false;
}

// Calls `copy` for the one or two pieces of the ring that hold `frames` frames from `frame` on. A frame's place is
// its number modulo the capacity.
template <typename Copy>
void walkRing(Ring& ring, std::int64_t frame, std::int64_t frames, Copy copy) {
    const std::int64_t size = capacity(ring);
    while (frames > 0 && size > 0) {
        const std::int64_t place = frame % size;
        const std::int64_t piece = std::min(frames, size - place);
        copy(ring.samples.data() + place * ring.channels, piece * ring.channels);
        frame += piece;
        frames -= piece;
    }
}

void putIntoRing(Ring& ring, const std::int16_t* samples, std::int64_t frames) {
    walkRing(ring, ring.first + ring.filled, frames,
             [next = samples](std::int16_t* place, std::int64_t count) mutable {
                 std::copy_n(next, count, place);
                 next += count;
             });
    ring.filled += frames;
}

// Takes the stream's frames from `frame` on and drops earlier ones, which are too late. Frames that are not there, at
// the end or because the decoder is behind, are silent.
void takeFromRing(Ring& ring, std::int64_t frame, std::int16_t* samples, std::int64_t frames) {
    const std::int64_t late = std::clamp<std::int64_t>(frame - ring.first, 0, ring.filled);
    const std::int64_t taken = std::min(ring.filled - late, frames);
    std::int16_t* out = samples;
    walkRing(ring, ring.first + late, taken,
             [&](const std::int16_t* place, std::int64_t count) { out = std::copy_n(place, count, out); });
    std::fill(out, samples + frames * ring.channels, std::int16_t{0});
    ring.first += late + taken;
    ring.filled -= late + taken;
}

bool ringHas(const Ring& ring, std::int64_t frame, int frames) {
    return ring.ended || ring.first + ring.filled - frame >= frames;
}

void requestStream(Playback& playback, const Mp3Stream* stream, std::int64_t frame) {
    ++playback.request.number;
    playback.request.stream = stream;
    playback.request.frame = frame;
    clearRing(playback.ring, frame);
    playback.decoderWork.notify_one();
}

// The decoder's thread. It works on the file without the lock, and drops what it has decoded for an old request.
void decode(Playback& playback) {
    std::array<std::int16_t, std::size_t{CHUNK_FRAMES} * 2> chunk{};
    Request served;
    std::unique_lock held(playback.lock);
    Ring& ring = playback.ring;
    const auto sought = [&] { return served.number != playback.request.number; };
    const auto room = [&] { return !ring.ended && capacity(ring) - ring.filled >= CHUNK_FRAMES; };
    for (;;) {
        playback.decoderWork.wait(
            held, [&] { return playback.stopping || (playback.request.stream && (sought() || room())); });
        if (playback.stopping) return;
        const bool seek = sought();
        served = playback.request;
        held.unlock();
        int frames = 0;
        if (!seek || seekMp3(*served.stream, served.frame))
            frames =
                readMp3(*served.stream, std::span(chunk).first(std::size_t{CHUNK_FRAMES} *
                                                               static_cast<std::size_t>(served.stream->channels)));
        held.lock();
        if (sought()) continue;
        putIntoRing(ring, chunk.data(), frames);
        ring.ended = frames == 0;
        playback.deviceWork.notify_one();
    }
}

bool wanted(const Playback& playback, Format format) { return !playback.stopping && playback.format == format; }

void setDevice(Playback& playback, DeviceState state) {
    playback.device = state;
    playback.deviceChanged.notify_one();
}

// If the ring does not reach the clock's place, the decoder seeks there, which takes less time than decoding.
void followClock(Playback& playback) {
    const Ring& ring = playback.ring;
    const std::int64_t next = playback.clock.stream;
    if (next < ring.first || (!ring.ended && next > ring.first + ring.filled))
        requestStream(playback, playback.request.stream, next);
}

// Fills `samples` with what the device plays next. Returns false if the format is no longer wanted.
bool fill(Playback& playback, std::unique_lock<std::mutex>& held, Format format, std::span<std::int16_t> samples) {
    const int frames = static_cast<int>(samples.size()) / format.channels;
    const auto silent = [&] { return playback.clock.paused || !playback.clock.joined; };
    if (!silent()) followClock(playback);
    // Meanwhile the device plays what it has. Only a file that hangs takes longer; the clock does not wait for it.
    playback.deviceWork.wait_for(held, DECODER_PATIENCE, [&] {
        return !wanted(playback, format) || silent() || ringHas(playback.ring, playback.clock.stream, frames);
    });
    if (!wanted(playback, format)) return false;
    const auto [first, wait] = clockRequest(playback.clock, audioClockNs(), frames);
    std::int16_t* sound = std::fill_n(samples.data(), std::ptrdiff_t{wait} * format.channels, std::int16_t{0});
    if (wait < frames) takeFromRing(playback.ring, first, sound, frames - wait);
    playback.decoderWork.notify_one();
    return true;
}

// Feeds the device until it is gone or no longer wanted. A device that takes frames as fast as they come, such as a
// file, gets them at the pace of time.
void feed(Playback& playback, std::unique_lock<std::mutex>& held, Format format, const AudioDriver& driver,
          void* device, std::span<std::int16_t> samples) {
    const std::int64_t began = audioClockNs();
    std::int64_t written = 0;
    while (wanted(playback, format)) {
        held.unlock();
        const Room room = driver.waitForRoom(device);
        const std::optional<HeardReport> report = driver.report(device);
        held.lock();
        if (room == Room::gone || !wanted(playback, format)) return;
        if (report) {
            clockHeard(playback.clock, report->ns, report->frames);
            playback.deviceChanged.notify_one();
        }
        if (room == Room::none) continue;
        if (!fill(playback, held, format, samples)) return;
        held.unlock();
        driver.write(device, samples);
        held.lock();
        written += static_cast<std::int64_t>(samples.size()) / format.channels;
        const double ahead = static_cast<double>(written) / format.rate -
                             static_cast<double>(audioClockNs() - began) / NS_PER_S - AHEAD_SECONDS;
        if (ahead > 0)
            playback.deviceWork.wait_for(held, std::chrono::duration<double>(ahead),
                                         [&] { return !wanted(playback, format); });
    }
}

// Opens a device with the first driver that can, and keeps to that driver: if a server crashes, its sound card is
// free, but belongs to the server that comes back. Makes `samples` as long as a period. Returns null if there is no
// device, or no memory.
void* openDevice(Format format, Drivers& drivers, std::vector<std::int16_t>& samples) {
    for (const AudioDriver* const& driver : drivers) {
        int period = 0;
        void* device = driver->open(format.rate, format.channels, period);
        if (!device) continue;
        drivers = Drivers(&driver, 1);
        try {
            samples.resize(static_cast<std::size_t>(period) * static_cast<std::size_t>(format.channels));
            return device;
        } catch (const std::exception&) {
            driver->close(device);
            return nullptr;
        }
    }
    return nullptr;
}

// The device's thread: finds a device, feeds it, and finds another when it is gone. It makes all calls that may hang
// in a driver or in a server, so they hold up nobody else.
void runDevice(Playback& playback) {
    Drivers drivers = playback.drivers;
    std::vector<std::int16_t> samples;
    std::unique_lock held(playback.lock);
    while (!playback.stopping) {
        const Format format = playback.format;
        const auto changed = [&] { return !wanted(playback, format); };
        if (format.rate == 0) {
            playback.deviceWork.wait(held, changed);
            continue;
        }
        held.unlock();
        void* device = openDevice(format, drivers, samples);
        held.lock();
        if (device && wanted(playback, format)) {
            clockResetDevice(playback.clock, audioClockNs());
            setDevice(playback, DeviceState::open);
            feed(playback, held, format, *drivers.front(), device, samples);
            if (wanted(playback, format)) clockResetDevice(playback.clock, audioClockNs());
        }
        if (wanted(playback, format)) setDevice(playback, DeviceState::missing);
        if (device) {
            held.unlock();
            drivers.front()->close(device);
            held.lock();
        }
        playback.deviceWork.wait_for(held, DEVICE_RETRY, changed);
    }
    setDevice(playback, DeviceState::ended);
}

// Afterwards nothing plays until a stream is requested.
void setFormat(Playback& playback, const Mp3Stream& stream) {
    const Format format{stream.rate, stream.channels};
    if (playback.format == format) return;
    std::vector<std::int16_t> samples(static_cast<std::size_t>(stream.rate) *
                                      static_cast<std::size_t>(stream.channels));
    const std::lock_guard held(playback.lock);
    playback.format = format;
    playback.device = DeviceState::opening;
    playback.ring = {.samples = std::move(samples), .channels = stream.channels};
    playback.request = {.number = playback.request.number + 1};
    playback.clock = startClock(stream.rate, audioClockNs());
    playback.deviceWork.notify_one();
}

// The drivers that RYL_SOUND names.
Drivers chosenDrivers() {
    const char* name = std::getenv("RYL_SOUND");
    const std::string_view chosen = name ? name : "";
    if (chosen == "none") return {};
    for (const AudioDriver* const& driver : DRIVERS)
        if (chosen == driver->name) return Drivers(&driver, 1);
    if (!chosen.empty())
        std::fprintf(stderr, "sound: RYL_SOUND is \"%s\", not pulse, alsa or none: taking the default\n", name);
    return DRIVERS;
}

void reportNoDevice() {
    static bool reported = false;
    if (!reported) std::fputs("sound: no audio device, playing silently\n", stderr);
    reported = true;
}

}  // namespace

Playback* makePlayback() {
    auto playback = std::make_unique<Playback>();
    playback->drivers = chosenDrivers();
    std::thread(decode, std::ref(*playback)).detach();
    // From here on the first thread uses the record, so an exception must not free it.
    Playback* made = playback.release();
    std::thread(runDevice, std::ref(*made)).detach();
    return made;
}

void preparePlayback(Playback& playback, const Mp3Stream& stream) {
    std::unique_lock held(playback.lock);
    const bool hasPlayed = playback.request.stream != nullptr;
    held.unlock();
    if (!hasPlayed) setFormat(playback, stream);
}

void play(Playback& playback, const Mp3Stream& stream, bool paused) {
    setFormat(playback, stream);
    std::unique_lock held(playback.lock);
    playback.deviceChanged.wait_for(held, DEVICE_PATIENCE,
                                    [&] { return playback.clock.joined || playback.device == DeviceState::missing; });
    if (playback.device != DeviceState::open && !playback.drivers.empty()) reportNoDevice();
    clockPlay(playback.clock, audioClockNs(), stream.frames, paused);
    requestStream(playback, &stream, 0);
}

double playPosition(Playback& playback) {
    const std::lock_guard held(playback.lock);
    return clockPosition(playback.clock, audioClockNs());
}

void seekPlayback(Playback& playback, std::int64_t frame) {
    const std::lock_guard held(playback.lock);
    clockSeek(playback.clock, audioClockNs(), frame);
    requestStream(playback, playback.request.stream, frame);
}

bool playbackPaused(Playback& playback) {
    const std::lock_guard held(playback.lock);
    return playback.clock.paused;
}

void pausePlayback(Playback& playback, bool paused) {
    const std::lock_guard held(playback.lock);
    if (paused)
        clockPause(playback.clock, audioClockNs());
    else
        clockResume(playback.clock, audioClockNs());
    playback.deviceWork.notify_one();
}

void stopPlayback(Playback& playback) {
    std::unique_lock held(playback.lock);
    playback.stopping = true;
    playback.decoderWork.notify_one();
    playback.deviceWork.notify_one();
    playback.deviceChanged.wait_for(held, DEVICE_PATIENCE, [&] { return playback.device == DeviceState::ended; });
}
