#include "audio_device.h"

#include <SDL.h>
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <exception>
#include <future>
#include <string_view>
#include <thread>
#include <utility>

namespace {

// Frames per request are the largest power of two (some drivers take no other) within this part of a second, so
// 1024 at 44.1 and 48 kHz: short enough for a seek to be heard at once, long enough for a machine that
// draws in software.
constexpr int REQUESTS_PER_SECOND = 40;
constexpr int SMALLEST_BUFFER = 256;

// SDL's drivers that throw the sound away or write it to a file sleep some milliseconds after each request.
// Neither plays in real time, so their count of frames is no clock.
constexpr std::array<std::string_view, 2> DRIVERS_WITHOUT_CLOCK = {"dummy", "disk"};

// A device or a sound server that hangs would hold up whoever closes it, for ever.
constexpr std::chrono::seconds CLOSE_PATIENCE{2};

bool reported = false;

void reportNoDevice() {
    if (!reported) std::fputs("sound: no audio device, playing silently\n", stderr);
    reported = true;
}

void printNothing(const char* /*file*/, int /*line*/, const char* /*function*/, int /*error*/, const char* /*format*/,
                  ...) {}

// ALSA's library prints a page to standard error when there is no sound card. SDL loads it by itself, so it
// is asked for among the libraries that are loaded already; where it is missing nothing has to be silenced.
void silenceAlsa() {
    using Handler = void (*)(const char*, int, const char*, int, const char*, ...);
    using SetHandler = int (*)(Handler);
    void* alsa = dlopen("libasound.so.2", RTLD_LAZY | RTLD_NOLOAD);
    if (!alsa) return;
    const auto setHandler = reinterpret_cast<SetHandler>(dlsym(alsa, "snd_lib_error_set_handler"));
    if (setHandler) setHandler(printNothing);
}

int bufferFrames(int rate) {
    int frames = SMALLEST_BUFFER;
    while (frames * 2 * REQUESTS_PER_SECOND <= rate) frames *= 2;
    return frames;
}

// Calls `end` on a thread of its own. False when it has not come back in time, or was not called for want of a thread.
template <typename End>
bool endsInTime(End end) {
    try {
        std::packaged_task<void()> task(end);
        const std::future<void> ended = task.get_future();
        std::thread(std::move(task)).detach();
        return ended.wait_for(CLOSE_PATIENCE) == std::future_status::ready;
    } catch (const std::exception&) {
        return false;
    }
}

bool driverHasClock() {
    const std::string_view driver = SDL_GetCurrentAudioDriver();
    return std::find(DRIVERS_WITHOUT_CLOCK.begin(), DRIVERS_WITHOUT_CLOCK.end(), driver) ==
           DRIVERS_WITHOUT_CLOCK.end();
}

}  // namespace

bool startAudio() {
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) {
        reportNoDevice();
        return false;
    }
    silenceAlsa();
    return true;
}

AudioDevice openAudioDevice(int rate, int channels, FillAudio fill, void* context) {
    SDL_AudioSpec spec = {};
    spec.freq = rate;
    spec.format = AUDIO_S16SYS;
    spec.channels = static_cast<Uint8>(channels);
    spec.samples = static_cast<Uint16>(bufferFrames(rate));
    spec.callback = fill;
    spec.userdata = context;
    AudioDevice device;
    device.id = SDL_OpenAudioDevice(nullptr, 0, &spec, nullptr, 0);
    if (device.id == 0) {
        reportNoDevice();
        return device;
    }
    device.buffer = spec.samples;
    device.hasClock = driverHasClock();
    return device;
}

void runAudioDevice(const AudioDevice& device) { SDL_PauseAudioDevice(device.id, 0); }

bool audioDeviceLost(const AudioDevice& device) { return SDL_GetAudioDeviceStatus(device.id) == SDL_AUDIO_STOPPED; }

bool closeAudioDevice(const AudioDevice& device) {
    if (device.id == 0) return true;
    return endsInTime([id = device.id] { SDL_CloseAudioDevice(id); });
}

void stopAudio() {
    endsInTime([] { SDL_QuitSubSystem(SDL_INIT_AUDIO); });
}
