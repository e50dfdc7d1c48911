// A stream by PulseAudio's protocol. Its loop runs inside the calls below, on the caller's thread.
#include "audio_driver.h"
#include "device_library.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <memory>
#include <new>
#include <random>
#include <utility>

// What this driver calls.
#define PULSE_FUNCTIONS(FUNCTION)          \
    FUNCTION(pa_context_connect)           \
    FUNCTION(pa_context_disconnect)        \
    FUNCTION(pa_context_get_state)         \
    FUNCTION(pa_context_new)               \
    FUNCTION(pa_context_unref)             \
    FUNCTION(pa_frame_size)                \
    FUNCTION(pa_mainloop_dispatch)         \
    FUNCTION(pa_mainloop_free)             \
    FUNCTION(pa_mainloop_get_api)          \
    FUNCTION(pa_mainloop_new)              \
    FUNCTION(pa_mainloop_poll)             \
    FUNCTION(pa_mainloop_prepare)          \
    FUNCTION(pa_operation_unref)           \
    FUNCTION(pa_stream_connect_playback)   \
    FUNCTION(pa_stream_disconnect)         \
    FUNCTION(pa_stream_get_state)          \
    FUNCTION(pa_stream_get_timing_info)    \
    FUNCTION(pa_stream_new)                \
    FUNCTION(pa_stream_unref)              \
    FUNCTION(pa_stream_update_timing_info) \
    FUNCTION(pa_stream_writable_size)      \
    FUNCTION(pa_stream_write)

namespace {
namespace pulse {

DEVICE_LIBRARY("libpulse.so.0", PULSE_FUNCTIONS)

// Between two questions for the server's latency. Questions come at random moments of a server's cycle, because a
// server that has just read a large piece counts more than is heard.
constexpr std::int64_t SHORTEST_PAUSE_NS = 5'000'000;
constexpr std::int64_t LONGEST_PAUSE_NS = 25'000'000;
constexpr double US_PER_S = 1e6;
constexpr double NS_PER_S = 1e9;
constexpr std::int64_t NS_PER_US = 1000;

struct Device {
    pa_mainloop* loop = nullptr;
    pa_context* context = nullptr;
    pa_stream* stream = nullptr;
    int frameBytes = 0;
    int period = 0;
    double rate = 0;
    std::int64_t nextQuestionNs = 0;
    std::minstd_rand random;
    std::optional<HeardReport> report;

    Device() = default;
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    ~Device() {
        if (stream) {
            pa_stream_disconnect(stream);
            pa_stream_unref(stream);
        }
        if (context) {
            pa_context_disconnect(context);
            pa_context_unref(context);
        }
        if (loop) pa_mainloop_free(loop);
    }
};

Device& deviceOf(void* device) { return *static_cast<Device*>(device); }

bool streamGood(const Device& device) { return PA_STREAM_IS_GOOD(pa_stream_get_state(device.stream)); }

// The answer to the question for the latency: the server has read `read_index` bytes, and its sink plays the last of
// them `sink_usec` later. The answer was `transport_usec` on its way, during which the sink has gone on.
void takeTiming(pa_stream* stream, int success, void* context) {
    Device& device = deviceOf(context);
    const pa_timing_info* timing = pa_stream_get_timing_info(stream);
    if (!success || !timing || !timing->playing || timing->read_index_corrupt) return;
    const double played = static_cast<double>(timing->transport_usec) - static_cast<double>(timing->sink_usec);
    const double frames =
        static_cast<double>(timing->read_index) / device.frameBytes + played / US_PER_S * device.rate;
    if (frames >= 0) device.report = {audioClockNs(), frames};
}

void askForTiming(Device& device, std::int64_t now) {
    if (now < device.nextQuestionNs) return;
    std::uniform_int_distribution<std::int64_t> pause(SHORTEST_PAUSE_NS, LONGEST_PAUSE_NS);
    device.nextQuestionNs = now + pause(device.random);
    if (pa_operation* question = pa_stream_update_timing_info(device.stream, takeTiming, &device))
        pa_operation_unref(question);
}

// Lets the loop run until `ready` is true. Returns false when the time is over, the loop fails or `good` is false.
template <typename Good, typename Ready>
bool runUntil(Device& device, double seconds, Good good, Ready ready) {
    const std::int64_t end = audioClockNs() + static_cast<std::int64_t>(seconds * NS_PER_S);
    while (good()) {
        if (ready()) return true;
        const std::int64_t now = audioClockNs();
        if (now >= end) return false;
        if (device.stream) askForTiming(device, now);
        const std::int64_t wake = device.stream ? std::min(end, device.nextQuestionNs) : end;
        if (pa_mainloop_prepare(device.loop, static_cast<int>((wake - now) / NS_PER_US) + 1) < 0 ||
            pa_mainloop_poll(device.loop) < 0 || pa_mainloop_dispatch(device.loop) < 0)
            return false;
    }
    return false;
}

bool connectContext(Device& device) {
    device.loop = pa_mainloop_new();
    if (!device.loop) return false;
    device.context = pa_context_new(pa_mainloop_get_api(device.loop), "ryl");
    if (!device.context || pa_context_connect(device.context, nullptr, PA_CONTEXT_NOFLAGS, nullptr) < 0) return false;
    const auto state = [&] { return pa_context_get_state(device.context); };
    return runUntil(
        device, CONNECT_SECONDS, [&] { return PA_CONTEXT_IS_GOOD(state()); },
        [&] { return state() == PA_CONTEXT_READY; });
}

bool connectStream(Device& device, const pa_sample_spec& format) {
    device.stream = pa_stream_new(device.context, "soundtrack", &format, nullptr);
    if (!device.stream) return false;
    pa_buffer_attr buffer = {};
    buffer.maxlength = ~0U;
    buffer.minreq = static_cast<std::uint32_t>(device.period * device.frameBytes);
    buffer.tlength = buffer.minreq * PERIODS;
    buffer.prebuf = buffer.minreq;
    if (pa_stream_connect_playback(device.stream, nullptr, &buffer, PA_STREAM_ADJUST_LATENCY, nullptr, nullptr) < 0)
        return false;
    return runUntil(
        device, CONNECT_SECONDS, [&] { return streamGood(device); },
        [&] { return pa_stream_get_state(device.stream) == PA_STREAM_READY; });
}

void* openPulse(int rate, int channels, int& period) {
    if (!loadLibrary()) return nullptr;
    std::unique_ptr<Device> device(new (std::nothrow) Device);
    if (!device) return nullptr;
    const pa_sample_spec format = {PA_SAMPLE_S16NE, static_cast<std::uint32_t>(rate),
                                   static_cast<std::uint8_t>(channels)};
    device->frameBytes = static_cast<int>(pa_frame_size(&format));
    device->rate = rate;
    device->period = period = std::max(1, static_cast<int>(rate * BUFFER_SECONDS / PERIODS));
    if (!connectContext(*device) || !connectStream(*device, format)) return nullptr;
    return device.release();
}

Room waitForRoom(void* handle) {
    Device& device = deviceOf(handle);
    const auto bytes = static_cast<std::size_t>(device.period) * static_cast<std::size_t>(device.frameBytes);
    const auto room = [&] { return pa_stream_writable_size(device.stream) >= bytes; };
    if (runUntil(
            device, WAIT_SECONDS, [&] { return streamGood(device); }, room))
        return Room::free;
    return streamGood(device) ? Room::none : Room::gone;
}

void write(void* handle, std::span<const std::int16_t> samples) {
    pa_stream_write(deviceOf(handle).stream, samples.data(), samples.size_bytes(), nullptr, 0, PA_SEEK_RELATIVE);
}

std::optional<HeardReport> takeReport(void* handle) { return std::exchange(deviceOf(handle).report, std::nullopt); }

void close(void* handle) { delete static_cast<Device*>(handle); }

}  // namespace pulse
}  // namespace

const AudioDriver PULSE_DRIVER = {"pulse",      pulse::openPulse,  pulse::waitForRoom,
                                  pulse::write, pulse::takeReport, pulse::close};
