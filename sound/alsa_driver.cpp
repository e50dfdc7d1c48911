#include "audio_driver.h"
#include "device_library.h"

#include <alsa/asoundlib.h>

#include <algorithm>
#include <memory>
#include <new>

// What this driver calls.
#define ALSA_FUNCTIONS(FUNCTION)        \
    FUNCTION(snd_lib_error_set_handler) \
    FUNCTION(snd_pcm_avail_update)      \
    FUNCTION(snd_pcm_close)             \
    FUNCTION(snd_pcm_delay)             \
    FUNCTION(snd_pcm_get_params)        \
    FUNCTION(snd_pcm_open)              \
    FUNCTION(snd_pcm_recover)           \
    FUNCTION(snd_pcm_set_params)        \
    FUNCTION(snd_pcm_wait)              \
    FUNCTION(snd_pcm_writei)

namespace {
namespace alsa {

DEVICE_LIBRARY("libasound.so.2", ALSA_FUNCTIONS)

constexpr double US_PER_S = 1e6;
constexpr double MS_PER_S = 1e3;
constexpr std::int64_t PROMPT_NS = 2'000'000;  // if an answer takes longer, its moment is unknown

struct Device {
    snd_pcm_t* pcm = nullptr;
    int channels = 0;
    int period = 0;
    std::int64_t written = 0;  // frames
    bool gone = false;

    Device() = default;
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    ~Device() {
        if (pcm) snd_pcm_close(pcm);
    }
};

Device& deviceOf(void* device) { return *static_cast<Device*>(device); }

// If there is no sound card, ALSA's library would print a page of errors.
void printNothing(const char* /*file*/, int /*line*/, const char* /*function*/, int /*error*/, const char* /*format*/,
                  ...) {}

// Lets a device go on that has run dry or was suspended with the machine.
void recover(Device& device, int error) { device.gone = snd_pcm_recover(device.pcm, error, 1) < 0; }

void* openAlsa(int rate, int channels, int& period) {
    if (!loadLibrary()) return nullptr;
    snd_lib_error_set_handler(printNothing);
    std::unique_ptr<Device> device(new (std::nothrow) Device);
    if (!device) return nullptr;
    device->channels = channels;
    if (snd_pcm_open(&device->pcm, "default", SND_PCM_STREAM_PLAYBACK, 0) < 0) return nullptr;
    snd_pcm_uframes_t buffer = 0;
    snd_pcm_uframes_t asked = 0;
    if (snd_pcm_set_params(device->pcm, SND_PCM_FORMAT_S16, SND_PCM_ACCESS_RW_INTERLEAVED,
                           static_cast<unsigned int>(channels), static_cast<unsigned int>(rate), 1,
                           static_cast<unsigned int>(BUFFER_SECONDS * US_PER_S)) < 0 ||
        snd_pcm_get_params(device->pcm, &buffer, &asked) < 0)
        return nullptr;
    device->period = period = std::max(1, static_cast<int>(std::min(asked, buffer / PERIODS)));
    return device.release();
}

Room waitForRoom(void* handle) {
    Device& device = deviceOf(handle);
    const int waited = snd_pcm_wait(device.pcm, static_cast<int>(WAIT_SECONDS * MS_PER_S));
    if (waited < 0) recover(device, waited);
    const snd_pcm_sframes_t room = snd_pcm_avail_update(device.pcm);
    if (room < 0) recover(device, static_cast<int>(room));
    if (device.gone) return Room::gone;
    return room >= device.period ? Room::free : Room::none;
}

void write(void* handle, std::span<const std::int16_t> samples) {
    Device& device = deviceOf(handle);
    const auto frames = samples.size() / static_cast<std::size_t>(device.channels);
    const snd_pcm_sframes_t written = snd_pcm_writei(device.pcm, samples.data(), frames);
    if (written < 0)
        recover(device, static_cast<int>(written));
    else
        device.written += written;
}

std::optional<HeardReport> report(void* handle) {
    Device& device = deviceOf(handle);
    snd_pcm_sframes_t delay = 0;
    const std::int64_t before = audioClockNs();
    const bool answered = snd_pcm_delay(device.pcm, &delay) == 0;
    const std::int64_t now = audioClockNs();
    if (!answered || now - before > PROMPT_NS || delay < 0 || delay > device.written) return std::nullopt;
    return HeardReport{now, static_cast<double>(device.written - delay)};
}

void close(void* handle) { delete static_cast<Device*>(handle); }

}  // namespace alsa
}  // namespace

const AudioDriver ALSA_DRIVER = {"alsa", alsa::openAlsa, alsa::waitForRoom, alsa::write, alsa::report, alsa::close};
