#include "playback.h"

#include "audio_device.h"
#include "play_clock.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <span>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr auto DEVICE_PATIENCE = 2s;      // for the first request after the device has been opened
constexpr auto DECODER_PATIENCE = 500ms;  // of the device's thread, before it plays silence
constexpr int CHUNK_FRAMES = 1152;        // decoded at a time: one frame of layer III

// Decoded frames that wait for the device, a second of them.
struct Ring {
    std::vector<std::int16_t> samples;
    int channels = 0;
    std::int64_t first = 0;   // the stream's frame that comes next
    std::int64_t filled = 0;  // frames
    bool ended = false;       // the decoder gives no more
};

// What the decoder is to do; a new number makes it start over.
struct Request {
    unsigned int number = 0;
    const Mp3Stream* stream = nullptr;
    std::int64_t frame = 0;
};

}  // namespace

struct Playback {
    // Guards all that follows it. Held for a copy of some kilobytes at the longest: never while decoding,
    // reading a file or inside SDL, so that a position query does not wait.
    std::mutex lock;
    std::condition_variable decoderWork;  // a request, or room in the ring
    std::condition_variable deviceWork;   // frames, an end, a pause
    std::condition_variable deviceAsked;
    PlayClock clock;
    Ring ring;
    Request request;
    bool stopping = false;

    // The calling thread's own.
    AudioDevice device;
    int rate = 0;
    int channels = 0;
    bool audio = false;
};

namespace {

// To be read while the lock is held: then times follow each other in the order of the changes.
std::int64_t nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

std::int64_t capacity(const Ring& ring) {
    return ring.channels == 0 ? 0 : static_cast<std::int64_t>(ring.samples.size()) / ring.channels;
}

void clearRing(Ring& ring, std::int64_t first) {
    ring.first = first;
    ring.filled = 0;
    ring.ended = false;
}

// Copies `frames` frames between `outside` and the ring, whose place for a frame is its number modulo the
// capacity.
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

// Takes the stream's frames from `frame` on, and drops those before it: they come too late. What is not
// there, at the end or because the decoder is behind, is silence.
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

// The decoder thread. Its file work is done without the lock; what it has decoded for an old request is
// dropped.
void decode(Playback& playback) {
    std::array<std::int16_t, std::size_t{CHUNK_FRAMES} * 2> chunk{};
    Request served;
    std::unique_lock held(playback.lock);
    Ring& ring = playback.ring;
    const auto sought = [&] { return served.number != playback.request.number; };
    const auto room = [&] { return !ring.ended && capacity(ring) - ring.filled >= CHUNK_FRAMES; };
    for (;;) {
        playback.decoderWork.wait(held, [&] { return playback.stopping || sought() || room(); });
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

// On SDL's thread.
void fillDevice(void* context, unsigned char* bytes, int size) {
    Playback& playback = *static_cast<Playback*>(context);
    auto* samples = reinterpret_cast<std::int16_t*>(bytes);
    std::unique_lock held(playback.lock);
    const int channels = playback.ring.channels;
    const int frames = size / (channels * static_cast<int>(sizeof(std::int16_t)));
    // The device keeps what it has meanwhile. Only a file that hangs takes longer than that, and the clock
    // does not wait for it.
    playback.deviceWork.wait_for(held, DECODER_PATIENCE, [&] {
        return playback.stopping || playback.clock.paused || ringHas(playback.ring, playback.clock.stream, frames);
    });
    const auto [first, silent] = clockRequest(playback.clock, nowNs(), frames);
    // The device has missed more than what waits: decoding that would take longer than seeking.
    if (!playback.ring.ended && first > playback.ring.first + playback.ring.filled)
        requestStream(playback, playback.request.stream, first);
    std::int16_t* sound = std::fill_n(samples, std::ptrdiff_t{silent} * channels, std::int16_t{0});
    takeFromRing(playback.ring, first, sound, frames - silent);
    playback.decoderWork.notify_one();
    playback.deviceAsked.notify_one();
}

bool fitsDevice(const Playback& playback, const Mp3Stream& stream) {
    return playback.device.id != 0 && playback.rate == stream.rate && playback.channels == stream.channels &&
           !audioDeviceLost(playback.device);
}

void startStream(Playback& playback, const Mp3Stream& stream, bool paused) {
    clockPlay(playback.clock, nowNs(), stream.frames, paused);
    requestStream(playback, &stream, 0);
}

bool dropDevice(Playback& playback) { return closeAudioDevice(std::exchange(playback.device, AudioDevice())); }

// A device that hangs still has our function to call, so there is no other after it.
void openDevice(Playback& playback, const Mp3Stream& stream) {
    if (!dropDevice(playback)) playback.audio = false;
    if (playback.audio) playback.device = openAudioDevice(stream.rate, stream.channels, fillDevice, &playback);
    playback.rate = stream.rate;
    playback.channels = stream.channels;
}

}  // namespace

Playback* makePlayback(bool audio) {
    auto playback = std::make_unique<Playback>();
    playback->audio = audio;
    if (audio) std::thread(decode, std::ref(*playback)).detach();
    return playback.release();
}

void play(Playback& playback, const Mp3Stream& stream, bool paused) {
    if (fitsDevice(playback, stream)) {
        const std::lock_guard held(playback.lock);
        startStream(playback, stream, paused);
        return;
    }
    std::vector<std::int16_t> samples(static_cast<std::size_t>(stream.rate) *
                                      static_cast<std::size_t>(stream.channels));
    openDevice(playback, stream);
    const AudioDevice& device = playback.device;
    std::unique_lock held(playback.lock);
    playback.ring.channels = stream.channels;
    playback.ring.samples.swap(samples);
    playback.clock = startClock(stream.rate, device.buffer, device.hasClock);
    if (device.id == 0) clockLeaveDevice(playback.clock, nowNs());
    startStream(playback, stream, paused);
    if (device.id == 0) return;
    held.unlock();
    runAudioDevice(device);
    held.lock();
    playback.deviceAsked.wait_for(held, DEVICE_PATIENCE, [&] { return playback.clock.running; });
    clockStart(playback.clock, nowNs());
}

double playPosition(Playback& playback) {
    const bool lost = playback.device.id != 0 && audioDeviceLost(playback.device);
    const std::lock_guard held(playback.lock);
    const std::int64_t now = nowNs();
    if (lost && playback.clock.followsDevice) clockLeaveDevice(playback.clock, now);
    return clockPosition(playback.clock, now);
}

void seekPlayback(Playback& playback, std::int64_t frame) {
    const std::lock_guard held(playback.lock);
    clockSeek(playback.clock, nowNs(), frame);
    requestStream(playback, playback.request.stream, frame);
}

bool playbackPaused(Playback& playback) {
    const std::lock_guard held(playback.lock);
    return playback.clock.paused;
}

void pausePlayback(Playback& playback, bool paused) {
    const std::lock_guard held(playback.lock);
    if (paused)
        clockPause(playback.clock, nowNs());
    else
        clockResume(playback.clock, nowNs());
    playback.deviceWork.notify_one();
}

bool stopPlayback(Playback& playback) {
    std::unique_lock held(playback.lock);
    playback.stopping = true;
    playback.decoderWork.notify_one();
    playback.deviceWork.notify_one();
    held.unlock();
    return dropDevice(playback);
}
