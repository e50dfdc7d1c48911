#include "fmod.h"

#include "mp3_stream.h"
#include "playback.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <limits>
#include <memory>
#include <new>

struct FMOD_CHANNEL {
    Playback* playback = nullptr;
    int rate = 1;  // of the sound that plays
    unsigned int lengthMs = 0;
};

struct FMOD_SOUND {
    FMOD_SYSTEM* system = nullptr;
    Mp3Stream stream;
    FMOD_SOUND* next = nullptr;
};

struct FMOD_SYSTEM {
    bool initialized = false;
    FMOD_CHANNEL channel;
    FMOD_SOUND* sounds = nullptr;
    FMOD_SYSTEM* next = nullptr;
};

namespace {

constexpr unsigned int VERSION = 0x00010000;
constexpr unsigned int MODES = FMOD_2D | FMOD_SOFTWARE | FMOD_CREATESTREAM;
constexpr std::int64_t MS_PER_S = 1000;

struct ErrorText {
    FMOD_RESULT result;
    const char* text;
};

constexpr std::array<ErrorText, 11> ERROR_TEXTS = {{
    {FMOD_OK, "No error."},
    {FMOD_ERR_NULL_HANDLE, "The system, sound or channel handle is null."},
    {FMOD_ERR_PARAMETER, "An argument is null or out of its range."},
    {FMOD_ERR_UNSUPPORTED, "The mode, flag or time unit is not supported."},
    {FMOD_ERR_NOT_INITIALIZED, "The sound system has not been initialized."},
    {FMOD_ERR_INITIALIZED, "The sound system has been initialized already."},
    {FMOD_ERR_FILE_NOT_FOUND, "The file was not found."},
    {FMOD_ERR_FILE_UNREADABLE, "The file cannot be read."},
    {FMOD_ERR_FILE_NOT_MP3, "The file is not an mp3 stream."},
    {FMOD_ERR_POSITION, "The position lies beyond the end of the sound."},
    {FMOD_ERR_RESOURCES, "There is no memory, thread or decoder."},
}};

// All systems, which hold everything that is ever made. Nothing is freed, because threads use it until the process
// ends.
FMOD_SYSTEM* systems = nullptr;

void stopAtExit() {
    for (FMOD_SYSTEM* system = systems; system; system = system->next)
        if (system->channel.playback) stopPlayback(*system->channel.playback);
}

FMOD_RESULT resultOf(Mp3Open opened) {
    switch (opened) {
    case Mp3Open::ok:
        return FMOD_OK;
    case Mp3Open::notFound:
        return FMOD_ERR_FILE_NOT_FOUND;
    case Mp3Open::unreadable:
        return FMOD_ERR_FILE_UNREADABLE;
    case Mp3Open::notMp3:
        return FMOD_ERR_FILE_NOT_MP3;
    case Mp3Open::noDecoder:
        break;
    }
    return FMOD_ERR_RESOURCES;
}

unsigned int lengthMs(const Mp3Stream& stream) {
    constexpr std::int64_t LONGEST = std::numeric_limits<unsigned int>::max();
    return static_cast<unsigned int>(std::min(stream.frames * MS_PER_S / stream.rate, LONGEST));
}

// The first frame at which a millisecond has been reached, so that the position reads the same again.
std::int64_t frameOfMs(unsigned int ms, int rate) { return (std::int64_t{ms} * rate + MS_PER_S - 1) / MS_PER_S; }

FMOD_RESULT checkQuery(const void* handle, const void* answer, unsigned int unit) {
    if (!handle) return FMOD_ERR_NULL_HANDLE;
    if (!answer) return FMOD_ERR_PARAMETER;
    return unit == FMOD_TIMEUNIT_MS ? FMOD_OK : FMOD_ERR_UNSUPPORTED;
}

// Makes `call`. An exception means that there is no memory or thread; it does not leave the interface.
template <typename Call>
FMOD_RESULT withResources(Call call) {
    try {
        call();
        return FMOD_OK;
    } catch (const std::exception&) {
        return FMOD_ERR_RESOURCES;
    }
}

}  // namespace

const char* FMOD_ErrorString(FMOD_RESULT result) {
    for (const ErrorText& error : ERROR_TEXTS)
        if (error.result == result) return error.text;
    return "Unknown error.";
}

FMOD_RESULT FMOD_System_Create(FMOD_SYSTEM** system) {
    if (!system) return FMOD_ERR_PARAMETER;
    FMOD_SYSTEM* made = new (std::nothrow) FMOD_SYSTEM;
    if (!made) return FMOD_ERR_RESOURCES;
    if (!systems) std::atexit(stopAtExit);
    made->next = systems;
    systems = made;
    *system = made;
    return FMOD_OK;
}

FMOD_RESULT FMOD_System_GetVersion(FMOD_SYSTEM* system, unsigned int* version) {
    if (!system) return FMOD_ERR_NULL_HANDLE;
    if (!version) return FMOD_ERR_PARAMETER;
    *version = VERSION;
    return FMOD_OK;
}

FMOD_RESULT FMOD_System_Init(FMOD_SYSTEM* system, int maxChannels, unsigned int flags, void* /*driverData*/) {
    if (!system) return FMOD_ERR_NULL_HANDLE;
    if (maxChannels < 1) return FMOD_ERR_PARAMETER;
    if (flags != FMOD_INIT_NORMAL) return FMOD_ERR_UNSUPPORTED;
    if (system->initialized) return FMOD_ERR_INITIALIZED;
    return withResources([&] {
        system->channel.playback = makePlayback();
        system->initialized = true;
    });
}

FMOD_RESULT FMOD_System_CreateSound(FMOD_SYSTEM* system, const char* name, unsigned int mode, void* info,
                                    FMOD_SOUND** sound) {
    if (!system) return FMOD_ERR_NULL_HANDLE;
    if (!name || info || !sound) return FMOD_ERR_PARAMETER;
    if ((mode & ~MODES) != 0) return FMOD_ERR_UNSUPPORTED;
    if (!system->initialized) return FMOD_ERR_NOT_INITIALIZED;
    std::unique_ptr<FMOD_SOUND> made(new (std::nothrow) FMOD_SOUND{system, {}, system->sounds});
    if (!made) return FMOD_ERR_RESOURCES;
    if (const Mp3Open opened = openMp3(name, made->stream); opened != Mp3Open::ok) return resultOf(opened);
    const FMOD_RESULT prepared = withResources([&] { preparePlayback(*system->channel.playback, made->stream); });
    if (prepared == FMOD_OK)
        *sound = system->sounds = made.release();
    else
        closeMp3(made->stream);
    return prepared;
}

FMOD_RESULT FMOD_System_PlaySound(FMOD_SYSTEM* system, int channel, FMOD_SOUND* sound, FMOD_BOOL paused,
                                  FMOD_CHANNEL** playing) {
    if (!system || !sound) return FMOD_ERR_NULL_HANDLE;
    if ((channel != FMOD_CHANNEL_FREE && channel != 0) || !playing || sound->system != system)
        return FMOD_ERR_PARAMETER;
    return withResources([&] {
        play(*system->channel.playback, sound->stream, paused != 0);
        system->channel.rate = sound->stream.rate;
        system->channel.lengthMs = lengthMs(sound->stream);
        *playing = &system->channel;
    });
}

FMOD_RESULT FMOD_Sound_GetLength(FMOD_SOUND* sound, unsigned int* length, unsigned int unit) {
    if (const FMOD_RESULT check = checkQuery(sound, length, unit); check != FMOD_OK) return check;
    *length = lengthMs(sound->stream);
    return FMOD_OK;
}

FMOD_RESULT FMOD_Channel_GetPosition(FMOD_CHANNEL* channel, unsigned int* position, unsigned int unit) {
    if (const FMOD_RESULT check = checkQuery(channel, position, unit); check != FMOD_OK) return check;
    *position = static_cast<unsigned int>(playPosition(*channel->playback) * double{MS_PER_S} / channel->rate);
    return FMOD_OK;
}

FMOD_RESULT FMOD_Channel_SetPosition(FMOD_CHANNEL* channel, unsigned int position, unsigned int unit) {
    if (!channel) return FMOD_ERR_NULL_HANDLE;
    if (unit != FMOD_TIMEUNIT_MS) return FMOD_ERR_UNSUPPORTED;
    if (position > channel->lengthMs) return FMOD_ERR_POSITION;
    seekPlayback(*channel->playback, frameOfMs(position, channel->rate));
    return FMOD_OK;
}

FMOD_RESULT FMOD_Channel_GetPaused(FMOD_CHANNEL* channel, FMOD_BOOL* paused) {
    if (!channel) return FMOD_ERR_NULL_HANDLE;
    if (!paused) return FMOD_ERR_PARAMETER;
    *paused = playbackPaused(*channel->playback) ? 1 : 0;
    return FMOD_OK;
}

FMOD_RESULT FMOD_Channel_SetPaused(FMOD_CHANNEL* channel, FMOD_BOOL paused) {
    if (!channel) return FMOD_ERR_NULL_HANDLE;
    pausePlayback(*channel->playback, paused != 0);
    return FMOD_OK;
}
