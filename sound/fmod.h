// fmod.h - the sound library's interface: one mp3 stream on one channel
//
// Needs nothing of its caller but that all calls come from one thread; a machine without an audio device
// plays silently, in time. The library's own threads never call back. Nothing is ever released: everything
// lives until the process ends, and `exit` may be called at any time, from anywhere on the calling thread.
#pragma once

// Every symbol that the shared object exports is declared below; everything else in it is hidden.
#define FMOD_API __attribute__((visibility("default")))

struct FMOD_SYSTEM;   // the sound system: holds sounds and the channel
struct FMOD_SOUND;    // an mp3 file, opened and measured
struct FMOD_CHANNEL;  // what plays a sound

// What a call reports; FMOD_ErrorString turns it into a sentence.
enum FMOD_RESULT : int {
    FMOD_OK = 0,
    FMOD_ERR_NULL_HANDLE,      // the system, sound or channel is null
    FMOD_ERR_PARAMETER,        // another argument is null or out of its range
    FMOD_ERR_UNSUPPORTED,      // a mode, flag or time unit other than those below
    FMOD_ERR_NOT_INITIALIZED,  // FMOD_System_Init comes first
    FMOD_ERR_INITIALIZED,      // FMOD_System_Init a second time
    FMOD_ERR_FILE_NOT_FOUND,   // nothing has that name
    FMOD_ERR_FILE_UNREADABLE,  // a directory, a device, no permission, a read error
    FMOD_ERR_FILE_NOT_MP3,     // no mp3 stream was found in the file
    FMOD_ERR_POSITION,         // beyond the end of the sound
    FMOD_ERR_RESOURCES,        // memory, a thread or a decoder could not be had
};

using FMOD_BOOL = int;  // 0 is false

constexpr unsigned int FMOD_TIMEUNIT_MS = 1;  // the one unit of lengths and positions
constexpr unsigned int FMOD_INIT_NORMAL = 0;  // the one way to initialise
constexpr int FMOD_CHANNEL_FREE = -1;         // "any channel that is free": there is one, index 0

// Modes of FMOD_System_CreateSound. Every sound is all of them, whichever are asked for.
constexpr unsigned int FMOD_2D = 0x08;            // no position in space
constexpr unsigned int FMOD_SOFTWARE = 0x40;      // decoded and mixed by the CPU
constexpr unsigned int FMOD_CREATESTREAM = 0x80;  // decoded while it plays

extern "C" {

// A sentence for `result`, never null, for any value. Static storage.
FMOD_API const char* FMOD_ErrorString(FMOD_RESULT result);

// Makes a system. The caller gets a handle that stays valid until the process ends.
FMOD_API FMOD_RESULT FMOD_System_Create(FMOD_SYSTEM** system);

// The library's version: major number in the upper 16 bits, minor number in the lower 16.
FMOD_API FMOD_RESULT FMOD_System_GetVersion(FMOD_SYSTEM* system, unsigned int* version);

// `maxChannels` is 1 or more (one channel is provided), `flags` FMOD_INIT_NORMAL, `driverData` is not used. RYL_SOUND in
// the environment chooses the audio output: "pulse" (PulseAudio, PipeWire), "alsa" or "none"; without it the first that
// is there.
FMOD_API FMOD_RESULT FMOD_System_Init(FMOD_SYSTEM* system, int maxChannels, unsigned int flags, void* driverData);

// Opens the mp3 file `name` and measures it; nothing plays yet, but the audio device is opened in its format. `mode` is any union of the modes above,
// `info` is null. On failure `*sound` is left as it was.
FMOD_API FMOD_RESULT FMOD_System_CreateSound(FMOD_SYSTEM* system, const char* name, unsigned int mode, void* info,
                                             FMOD_SOUND** sound);

// Plays `sound` from its start, once, in place of what the channel plays. `channel` is FMOD_CHANNEL_FREE or
// 0; `paused` non-zero holds it at 0 until FMOD_Channel_SetPaused. May wait for the audio device, 2 s at the
// most. No device is no error: one line on standard error, and the sound plays silently until there is one.
FMOD_API FMOD_RESULT FMOD_System_PlaySound(FMOD_SYSTEM* system, int channel, FMOD_SOUND* sound, FMOD_BOOL paused,
                                           FMOD_CHANNEL** playing);

// Length in milliseconds, rounded down from an exact count of samples. `unit` is FMOD_TIMEUNIT_MS.
FMOD_API FMOD_RESULT FMOD_Sound_GetLength(FMOD_SOUND* sound, unsigned int* length, unsigned int unit);

// What the listener hears now, in milliseconds from the start of the sound, rounded down: what the sound server and the
// hardware still hold is not heard yet. Grows smoothly in real time while playing, whatever becomes of the audio device,
// but stands at a new position until it is heard; stands still while paused, at the last that is heard, and at the
// length once the sound has played to its end.
FMOD_API FMOD_RESULT FMOD_Channel_GetPosition(FMOD_CHANNEL* channel, unsigned int* position, unsigned int unit);

// Moves to `position` (milliseconds, 0 to the length), exact to the sample. Paused stays paused; a sound that
// has played to its end plays on from there.
FMOD_API FMOD_RESULT FMOD_Channel_SetPosition(FMOD_CHANNEL* channel, unsigned int position, unsigned int unit);

FMOD_API FMOD_RESULT FMOD_Channel_GetPaused(FMOD_CHANNEL* channel, FMOD_BOOL* paused);
FMOD_API FMOD_RESULT FMOD_Channel_SetPaused(FMOD_CHANNEL* channel, FMOD_BOOL paused);

}  // extern "C"
