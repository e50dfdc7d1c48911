// fmod.h - the sound library's interface: one mp3 stream on one channel
//
// Needs    all calls from one thread, which may call `exit` at any time. Without an audio device the sound plays
//          silently, in time.
// Never    calls back from its own threads; releases anything before the process ends.
#pragma once

// The shared object exports the symbols that are declared below, and no others.
#define FMOD_API __attribute__((visibility("default")))

struct FMOD_SYSTEM;   // holds the sounds and the channel
struct FMOD_SOUND;    // an mp3 file, opened and measured
struct FMOD_CHANNEL;  // plays a sound

// The result of a call; FMOD_ErrorString turns it into a sentence.
enum FMOD_RESULT : int {
    FMOD_OK = 0,
    FMOD_ERR_NULL_HANDLE,      // the system, sound or channel is null
    FMOD_ERR_PARAMETER,        // another argument is null or out of its range
    FMOD_ERR_UNSUPPORTED,      // the mode, flag or time unit is none of those below
    FMOD_ERR_NOT_INITIALIZED,  // FMOD_System_Init has not been called
    FMOD_ERR_INITIALIZED,      // FMOD_System_Init was called before
    FMOD_ERR_FILE_NOT_FOUND,   // nothing has that name
    FMOD_ERR_FILE_UNREADABLE,  // a directory, a device, no permission, a read error
    FMOD_ERR_FILE_NOT_MP3,     // the file holds no mp3 stream
    FMOD_ERR_POSITION,         // beyond the end of the sound
    FMOD_ERR_RESOURCES,        // there is no memory, thread or decoder
};

using FMOD_BOOL = int;  // 0 is false

constexpr unsigned int FMOD_TIMEUNIT_MS = 1;  // the one unit of lengths and positions
constexpr unsigned int FMOD_INIT_NORMAL = 0;  // the one way to initialise
constexpr int FMOD_CHANNEL_FREE = -1;         // "any channel that is free": there is one, index 0

// Modes of FMOD_System_CreateSound. Every sound has all three, whichever are asked for.
constexpr unsigned int FMOD_2D = 0x08;            // no position in space
constexpr unsigned int FMOD_SOFTWARE = 0x40;      // decoded and mixed by the CPU
constexpr unsigned int FMOD_CREATESTREAM = 0x80;  // decoded while it plays

extern "C" {

// A sentence for any value of `result`; never null, static storage.
FMOD_API const char* FMOD_ErrorString(FMOD_RESULT result);

// Makes a system. Its handle stays valid until the process ends.
FMOD_API FMOD_RESULT FMOD_System_Create(FMOD_SYSTEM** system);

// The library's version: major number in the upper 16 bits, minor number in the lower 16.
FMOD_API FMOD_RESULT FMOD_System_GetVersion(FMOD_SYSTEM* system, unsigned int* version);

// `maxChannels` is 1 or more (there is one channel), `flags` is FMOD_INIT_NORMAL, `driverData` is not used. The
// environment variable RYL_SOUND chooses the audio output: "pulse" (PulseAudio, PipeWire), "alsa" or "none". Without
// it the first output that opens is used.
FMOD_API FMOD_RESULT FMOD_System_Init(FMOD_SYSTEM* system, int maxChannels, unsigned int flags, void* driverData);

// Opens and measures the mp3 file `name`, and lets the audio device open in its format; nothing plays yet. `mode` is
// any union of the modes above, `info` is null. On failure `*sound` stays as it was.
FMOD_API FMOD_RESULT FMOD_System_CreateSound(FMOD_SYSTEM* system, const char* name, unsigned int mode, void* info,
                                             FMOD_SOUND** sound);

// Plays `sound` once from its start, in place of what the channel plays. `channel` is FMOD_CHANNEL_FREE or 0. If
// `paused` is not 0, the position stays at 0 until FMOD_Channel_SetPaused. Waits for the audio device, at most 2 s. A
// missing device is no error: a line on standard error says so, and the sound plays silently until there is one.
FMOD_API FMOD_RESULT FMOD_System_PlaySound(FMOD_SYSTEM* system, int channel, FMOD_SOUND* sound, FMOD_BOOL paused,
                                           FMOD_CHANNEL** playing);

// Length in milliseconds, rounded down from an exact count of samples. `unit` is FMOD_TIMEUNIT_MS.
FMOD_API FMOD_RESULT FMOD_Sound_GetLength(FMOD_SOUND* sound, unsigned int* length, unsigned int unit);

// What the listener hears now, in milliseconds from the start of the sound, rounded down; what the sound server and
// the hardware still hold is not heard yet. While the sound plays, the position grows smoothly in real time, even if
// the audio device fails. After a seek it stands at the new position until that is heard, in a pause at what was
// heard last, and after the end at the length.
FMOD_API FMOD_RESULT FMOD_Channel_GetPosition(FMOD_CHANNEL* channel, unsigned int* position, unsigned int unit);

// Moves to `position` (milliseconds, 0 to the length), exact to the sample. A paused sound stays paused; one that has
// played to its end plays again from there.
FMOD_API FMOD_RESULT FMOD_Channel_SetPosition(FMOD_CHANNEL* channel, unsigned int position, unsigned int unit);

FMOD_API FMOD_RESULT FMOD_Channel_GetPaused(FMOD_CHANNEL* channel, FMOD_BOOL* paused);
FMOD_API FMOD_RESULT FMOD_Channel_SetPaused(FMOD_CHANNEL* channel, FMOD_BOOL paused);

}  // extern "C"
